#pragma once

#include <RL/AudioChannelType.h>

#include <kilncore/string/WideString.h>

#include <cstdint>

namespace RL::AudioUtils {

// The kinds of audio samples that a source reports (DR::IAudioSource's
// GetAudioSourceKind).
enum AudioSampleType : int32_t {
  kAudioSampleType_8BitInteger = 1,
  kAudioSampleType_16BitInteger = 2,
  kAudioSampleType_24BitInteger = 3,
  kAudioSampleType_32BitInteger = 4,
  kAudioSampleType_64BitFloat = 5,
  kAudioSampleType_32BitFloat = 6,
};

// The name of a sample type for the user: "8 bit", "16 bit", "24 bit",
// "32 bit", "64 bit float", "32 bit float"; "Unknown" for any other value.
kilncore::WideString CreateAudioSampleTypeString(int32_t type);

// The name of a channel type for the user: "Mono", "Stereo", "5.1",
// "Multichannel", and "None" for no channels (or an unknown value). The two
// further arguments are the host's and must be 0.
kilncore::WideString CreateAudioChannelTypeString(AudioChannelType type, int32_t reservedA, int32_t reservedB);

}  // namespace RL::AudioUtils
