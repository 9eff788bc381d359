// Feeds arbitrary text to the caption text reader, which reads what a server
// sends. It may refuse a text only by giving nothing with a reason; a text it
// accepts must read back the same after the writer, and give a captioning
// source with the same streams.

#include <KL/CaptionText.h>
#include <KL/CaptioningSource.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string reason;
  const auto document = KL::CaptionText::Parse(text, reason);
  const auto source = KL::CreateCaptioningSource(text, nullptr);
  if (!document) {
    if (reason.empty() || source) std::abort();
    return 0;
  }
  if (!source || source->GetStreamCount() != document->streams.size()) std::abort();
  const auto again = KL::CaptionText::Parse(KL::CaptionText::Write(*document), reason);
  if (!again || *again != *document) std::abort();
  return 0;
}
