// Operations whose server conversations (XMP and captions, analysis) are not
// built yet. Until they are, each
// gives the answer of an item that has nothing to report, so that the host
// treats the item as plain linked media.

#include <mediainfo/TetherMediaInfo.h>

namespace TetherMedia {

int32_t TetherMediaInfo::ReadXMP(bool /*reservedA*/, bool /*reservedB*/, int32_t /*reservedC*/,
                                 RL::BinaryData& out) {
  out = RL::BinaryData();
  return 0;
}

int32_t TetherMediaInfo::GetCaptioningSource(
    kilncore::classref::InterfaceRef<KL::ICaptioningSource>& /*out*/) {
  return kNotOffered;
}

void TetherMediaInfo::SelectCaptionStream(uint64_t /*index*/) {}

uint64_t TetherMediaInfo::GetSelectedCaptionStream() { return 0; }

int32_t TetherMediaInfo::GetAnalysisLines(int32_t /*reservedA*/,
                                          std::vector<kilncore::WideString>& /*lines*/,
                                          int32_t /*reservedB*/,
                                          kilnmediatypes::TimeDisplay /*display*/,
                                          int32_t /*reservedC*/, int32_t /*reservedD*/) {
  return 0;
}

bool TetherMediaInfo::AnalysisQueryA() { return false; }

uint32_t TetherMediaInfo::AnalysisFlags() { return 0; }

void TetherMediaInfo::AnalysisNoOp() {}

}  // namespace TetherMedia
