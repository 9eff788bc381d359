#pragma once

#include <kilnmediatypes/AudioChannelDescription.h>

#include <cstdint>
#include <vector>

namespace RL {

// The host's coarse kind of an audio layout, which decides how a stream is
// mixed into a track.
enum AudioChannelType : int32_t {
  kAudioChannelType_None = 0,  // no channels
  kAudioChannelType_Mono = 1,
  kAudioChannelType_Stereo = 2,
  kAudioChannelType_51 = 6,  // L R C LFE Ls Rs, in that order
  kAudioChannelType_Multichannel = 100,  // any other layout: channels taken one by one
};

// The kind of `layout`:
// - no channels: kAudioChannelType_None;
// - one channel, whatever its label: kAudioChannelType_Mono;
// - Left then Right: kAudioChannelType_Stereo;
// - Left, Right, Center, LowFrequency, LeftSurround, RightSurround in that
//   order: kAudioChannelType_51;
// - anything else (discrete channels, other orders, other counts):
//   kAudioChannelType_Multichannel.
AudioChannelType CreateAudioChannelType(
    const std::vector<kilnmediatypes::AudioChannelDescription>& layout) noexcept;

}  // namespace RL
