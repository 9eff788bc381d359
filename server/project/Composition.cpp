#include <server/project/Composition.h>

#include <kilnmediatypes/FrameRate.h>

namespace tetherserver {

tether::FrameRate Composition::FrameTicks() const {
  return kilnmediatypes::FrameRate::FromFramesPerSecond(rateNumerator, rateDenominator)
      .GetTicksPerFrame();
}

tether::RatioTime Composition::FramesToTime(int64_t frames) const {
  return tether::RatioTime(frames * rateDenominator, rateNumerator);
}

int64_t Composition::TimecodeBase() const {
  return (rateNumerator + rateDenominator / 2) / rateDenominator;
}

}  // namespace tetherserver
