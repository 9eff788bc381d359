#pragma once

#include <boost/rational.hpp>

#include <compare>
#include <cstdint>

namespace kilnmediatypes {

// The host's time base: every time and rate is a whole number of these ticks.
// 254,016,000,000 = 2^12 * 3^4 * 5^6 * 7^2, so the frame lengths of all common
// film, video and audio rates (including the NTSC rates of n*1000/1001) are
// whole numbers of ticks.
inline constexpr int64_t kTicksPerSecond = 254016000000;

// A rate, stated as the length of one frame (or one audio sample) in ticks.
// The length 0x7FFFFFFFFFFFFFFF means that there is no rate; a default-built
// FrameRate has no rate.
class FrameRate {
 public:
  static constexpr int64_t kNoRateTicks = 0x7FFFFFFFFFFFFFFF;

  constexpr FrameRate() noexcept = default;
  constexpr explicit FrameRate(int64_t ticksPerFrame) noexcept : mTicksPerFrame(ticksPerFrame) {}

  // The rate of `framesPerSecondNumerator / framesPerSecondDenominator` frames a
  // second (e.g. 30000/1001), its frame length rounded to the nearest tick. A
  // rate that isn't positive gives no rate.
  static FrameRate FromFramesPerSecond(int64_t framesPerSecondNumerator,
                                       int64_t framesPerSecondDenominator = 1);

  constexpr int64_t GetTicksPerFrame() const noexcept { return mTicksPerFrame; }

  // True for a positive frame length other than the no-rate value.
  constexpr bool HasRate() const noexcept {
    return mTicksPerFrame > 0 && mTicksPerFrame != kNoRateTicks;
  }

  // Frames a second as a double; 0.0 when there is no rate.
  double ToFramesPerSecond() const noexcept;

  // Frames a second as an exact fraction; 0/1 when there is no rate.
  boost::rational<int64_t> ToRationalFramesPerSecond() const;

  friend constexpr bool operator==(FrameRate, FrameRate) noexcept = default;
  friend constexpr auto operator<=>(FrameRate, FrameRate) noexcept = default;

 private:
  int64_t mTicksPerFrame = kNoRateTicks;
};

inline constexpr FrameRate kFrameRate_None{};

// Video rates.
inline constexpr FrameRate kFrameRate_Film23976{10594584000};   // 24000/1001
inline constexpr FrameRate kFrameRate_Film24{10584000000};
inline constexpr FrameRate kFrameRate_PAL25{10160640000};
inline constexpr FrameRate kFrameRate_NTSC2997{8475667200};     // 30000/1001
inline constexpr FrameRate kFrameRate_30{8467200000};
inline constexpr FrameRate kFrameRate_47952{5297292000};        // 48000/1001
inline constexpr FrameRate kFrameRate_48{5292000000};
inline constexpr FrameRate kFrameRate_50{5080320000};
inline constexpr FrameRate kFrameRate_5994{4237833600};         // 60000/1001
inline constexpr FrameRate kFrameRate_60{4233600000};
inline constexpr FrameRate kFrameRate_100{2540160000};
inline constexpr FrameRate kFrameRate_11988{2118916800};        // 120000/1001
inline constexpr FrameRate kFrameRate_120{2116800000};

// Audio sample rates: the length of one sample.
inline constexpr FrameRate kAudioSampleRate_22050{11520000};
inline constexpr FrameRate kAudioSampleRate_32000{7938000};
inline constexpr FrameRate kAudioSampleRate_44100{5760000};
inline constexpr FrameRate kAudioSampleRate_48000{5292000};
inline constexpr FrameRate kAudioSampleRate_88200{2880000};
inline constexpr FrameRate kAudioSampleRate_96000{2646000};
inline constexpr FrameRate kAudioSampleRate_192000{1323000};

}  // namespace kilnmediatypes
