#pragma once

#include <RL/AudioChannelType.h>

#include <kilncore/classref/Unknown.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>
#include <vector>

namespace kilnaudiotoolkit {
class AudioBuffer;
}

namespace DR {

// The audio stream of a media item, read by position. Operations are in slot
// order; results of int32_t are 0 or above on success.
class IAudioSource : public kilncore::classref::Unknown {
 public:
  // A marker that a stream places in its audio (a cue point), in stream time.
  struct AudioMarker {
    kilnmediatypes::TickTime time;
    kilnmediatypes::TickTime duration;

    friend bool operator==(const AudioMarker&, const AudioMarker&) = default;
  };

  ~IAudioSource() override;

  // The length of one sample frame, in ticks.
  virtual int32_t GetSampleRate(kilnmediatypes::FrameRate& out) = 0;
  virtual RL::AudioChannelType GetAudioChannelType() = 0;
  virtual uint32_t GetAudioChannelCount() = 0;
  virtual int32_t GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) = 0;
  virtual int32_t GetAudioSourceKind() = 0;
  // Fills `buffer` with the samples from `position` on. `context` belongs to
  // the caller and is handed on.
  virtual int32_t ReadAudio(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer,
                            kilnmediatypes::TickTime position) = 0;
  virtual int32_t GetAudioMarkers(std::vector<AudioMarker>& out) = 0;

 protected:
  IAudioSource() = default;
};

}  // namespace DR
