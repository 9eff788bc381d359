#pragma once

#include <compare>
#include <cstdint>

namespace kilnmediatypes {

// The speaker position that an audio channel is meant for.
enum AudioChannelLabel : int32_t {
  kAudioChannelLabel_Discrete = 0,  // no position; identified by its index
  kAudioChannelLabel_Left = 1,
  kAudioChannelLabel_Right = 2,
  kAudioChannelLabel_Center = 3,
  kAudioChannelLabel_LowFrequency = 4,
  kAudioChannelLabel_LeftSurround = 5,
  kAudioChannelLabel_RightSurround = 6,
  kAudioChannelLabel_LeftSideSurround = 7,
  kAudioChannelLabel_RightSideSurround = 8,
  kAudioChannelLabel_Mono = 9,
};

// One channel of an audio layout; a layout is a vector of these in channel
// order. `discreteIndex` numbers discrete channels and is 0 for the others.
struct AudioChannelDescription {
  AudioChannelLabel label = kAudioChannelLabel_Discrete;
  uint32_t discreteIndex = 0;

  friend constexpr bool operator==(const AudioChannelDescription&,
                                   const AudioChannelDescription&) noexcept = default;
  friend constexpr auto operator<=>(const AudioChannelDescription&,
                                    const AudioChannelDescription&) noexcept = default;
};

}  // namespace kilnmediatypes
