#include <kilnmediatypes/TickTime.h>

#include <limits>

namespace kilnmediatypes {
namespace {

template <class Int>
Int Saturate(__int128 value) {
  if (value > std::numeric_limits<Int>::max()) return std::numeric_limits<Int>::max();
  if (value < std::numeric_limits<Int>::min()) return std::numeric_limits<Int>::min();
  return static_cast<Int>(value);
}

}  // namespace

TickTime::TickTime(int64_t frameCount, const FrameRate& rate) noexcept
    : mTicks(rate.HasRate()
                 ? Saturate<int64_t>(static_cast<__int128>(frameCount) * rate.GetTicksPerFrame())
                 : 0) {}

int64_t TickTime::ToFrame64(const FrameRate& rate) const noexcept {
  if (!rate.HasRate()) return 0;
  const int64_t length = rate.GetTicksPerFrame();
  int64_t frame = mTicks / length;
  if (mTicks % length != 0 && mTicks < 0) --frame;
  return frame;
}

int32_t TickTime::ToFrame32(const FrameRate& rate) const noexcept {
  return Saturate<int32_t>(ToFrame64(rate));
}

}  // namespace kilnmediatypes
