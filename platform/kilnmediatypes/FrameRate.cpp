#include <kilnmediatypes/FrameRate.h>

#include <limits>

namespace kilnmediatypes {

FrameRate FrameRate::FromFramesPerSecond(int64_t framesPerSecondNumerator,
                                         int64_t framesPerSecondDenominator) {
  if (framesPerSecondNumerator == 0 || framesPerSecondDenominator == 0 ||
      (framesPerSecondNumerator < 0) != (framesPerSecondDenominator < 0)) {
    return kFrameRate_None;
  }
  // ticks = kTicksPerSecond * den / num, rounded half up; 128 bits so that no
  // denominator can overflow the product.
  __int128 num = framesPerSecondNumerator;
  __int128 den = framesPerSecondDenominator;
  if (num < 0) {
    num = -num;
    den = -den;
  }
  const __int128 ticks = (static_cast<__int128>(kTicksPerSecond) * den * 2 + num) / (num * 2);
  if (ticks <= 0 || ticks >= kNoRateTicks) return kFrameRate_None;
  return FrameRate(static_cast<int64_t>(ticks));
}

double FrameRate::ToFramesPerSecond() const noexcept {
  if (!HasRate()) return 0.0;
  return static_cast<double>(kTicksPerSecond) / static_cast<double>(mTicksPerFrame);
}

boost::rational<int64_t> FrameRate::ToRationalFramesPerSecond() const {
  if (!HasRate()) return boost::rational<int64_t>(0);
  return boost::rational<int64_t>(kTicksPerSecond, mTicksPerFrame);
}

}  // namespace kilnmediatypes
