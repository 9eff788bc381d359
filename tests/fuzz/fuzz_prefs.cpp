// Feeds arbitrary prefs blobs to the readers of the blob and of its render
// options. Project files come from anywhere, so the readers may refuse a blob
// only in the two documented ways: std::runtime_error "JSON not well-formed"
// and std::bad_any_cast. Any other exception aborts, and the sanitizers catch
// crashes, leaks and undefined behaviour.
//
// Blobs shorter than the 72 bytes of the source identifier are skipped: the
// readers require at least that much and don't check it.

#include <TetherMedia/Prefs.h>
#include <module/RenderOptionsReaders.h>

#include <RL/BinaryData.h>
#include <kilncore/string/WideString.h>
#include <tether/MarlRenderOptions.h>

#include <any>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t kSourceIDBytes = 72;

// Options that the reader accepted must survive the writer and the reader
// again, with every member that isn't a floating-point number unchanged
// (number texts needn't round-trip to the last bit).
void CheckRewrite(const tether::MarlRenderOptions& read) {
  tether::MarlRenderOptions again;
  try {
    again = TetherMedia::ParseMarlRenderOptions(read.AsString());
  } catch (...) {
    std::abort();
  }
  const bool same = again.renderGuideLayers == read.renderGuideLayers &&
                    again.GetFlatArtisanOptions() == read.GetFlatArtisanOptions() &&
                    again.artisanQuality == read.artisanQuality && again.fieldType == read.fieldType &&
                    again.downSampleX == read.downSampleX && again.downSampleY == read.downSampleY &&
                    again.needsToPatchSourceForDownsample == read.needsToPatchSourceForDownsample &&
                    again.useMarlLib == read.useMarlLib &&
                    again.GetStretchOffset() == read.GetStretchOffset() &&
                    again.enableMenaIndic == read.enableMenaIndic;
  if (!same) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < kSourceIDBytes) return 0;
  const RL::BinaryData prefs(data, size);
  (void)TetherMedia::PrefsToSourceID(prefs);
  const kilncore::WideString options = TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs);
  try {
    CheckRewrite(TetherMedia::ParseMarlRenderOptions(options));
  } catch (const std::runtime_error& error) {
    if (std::strcmp(error.what(), "JSON not well-formed") != 0) std::abort();
  } catch (const std::bad_any_cast&) {
    // A member of the wrong type: refused as documented.
  } catch (...) {
    std::abort();
  }
  return 0;
}
