#pragma once

#include <kilnmediatypes/FrameRate.h>

#include <compare>
#include <cstdint>

namespace kilnmediatypes {

// A point or length of time as a signed 64-bit count of ticks, kTicksPerSecond
// (254,016,000,000) to the second. kTickTime_Invalid marks a time that isn't set.
class TickTime {
 public:
  static constexpr int64_t kTicksPerSecond = kilnmediatypes::kTicksPerSecond;
  static constexpr int64_t kInvalidTicks = -101606400000000000;  // -400,000 s

  constexpr TickTime() noexcept = default;
  constexpr explicit TickTime(int64_t ticks) noexcept : mTicks(ticks) {}

  // The start of frame `frameCount` at `rate`: frameCount * the frame length,
  // saturated to the 64-bit range. Without a rate the time is 0.
  TickTime(int64_t frameCount, const FrameRate& rate) noexcept;

  static constexpr TickTime FromSeconds(int64_t seconds) noexcept {
    return TickTime(seconds * kTicksPerSecond);
  }

  constexpr int64_t GetTicks() const noexcept { return mTicks; }
  constexpr bool IsValid() const noexcept { return mTicks != kInvalidTicks; }

  // The frame at `rate` that holds this time: the tick count divided by the
  // frame length, rounded towards minus infinity, so that a time inside a
  // frame, also before zero, gives that frame. Without a rate the result is 0.
  int64_t ToFrame64(const FrameRate& rate) const noexcept;

  // ToFrame64 saturated to the 32-bit range.
  int32_t ToFrame32(const FrameRate& rate) const noexcept;

  double ToSeconds() const noexcept { return static_cast<double>(mTicks) / kTicksPerSecond; }

  constexpr TickTime& operator+=(TickTime other) noexcept {
    mTicks += other.mTicks;
    return *this;
  }
  constexpr TickTime& operator-=(TickTime other) noexcept {
    mTicks -= other.mTicks;
    return *this;
  }
  friend constexpr TickTime operator+(TickTime a, TickTime b) noexcept { return a += b; }
  friend constexpr TickTime operator-(TickTime a, TickTime b) noexcept { return a -= b; }
  constexpr TickTime operator-() const noexcept { return TickTime(-mTicks); }

  friend constexpr bool operator==(TickTime, TickTime) noexcept = default;
  friend constexpr auto operator<=>(TickTime, TickTime) noexcept = default;

 private:
  int64_t mTicks = 0;
};

inline constexpr TickTime kTickTime_Zero{0};
inline constexpr TickTime kTickTime_Invalid{TickTime::kInvalidTicks};

}  // namespace kilnmediatypes
