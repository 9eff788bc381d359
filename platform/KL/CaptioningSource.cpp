#include <KL/CaptioningSource.h>

#include <KL/CaptionText.h>

#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/debug/Trace.h>

#include <memory>
#include <string>
#include <utility>

namespace KL {

CaptioningSource::CaptioningSource(CaptionDocument document) : mDocument(std::move(document)) {}

CaptioningSource::~CaptioningSource() = default;

uint32_t CaptioningSource::GetStreamFormat() const { return mDocument.streamFormat; }

size_t CaptioningSource::GetStreamCount() const { return mDocument.streams.size(); }

const CaptionStream* CaptioningSource::GetStream(size_t index) const {
  return index < mDocument.streams.size() ? &mDocument.streams[index] : nullptr;
}

void* CaptioningSource::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<CaptioningSource, ICaptioningSource>(this, name);
}

kilncore::classref::InterfaceRef<ICaptioningSource> CreateCaptioningSource(std::string_view text,
                                                                           const void* /*reserved*/) {
  std::string reason;
  std::optional<CaptionDocument> document = CaptionText::Parse(text, reason);
  if (!document) {
    if (kilncore::debug::TraceEnabled("Keel", 1, true))
      kilncore::debug::Trace(1, "Keel", "CreateCaptioningSource: malformed caption text: " + reason);
    return {};
  }
  return std::make_shared<CaptioningSource>(std::move(*document));
}

}  // namespace KL
