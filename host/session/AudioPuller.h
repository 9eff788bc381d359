#pragma once

#include <DR/IAudioSource.h>
#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>
#include <vector>

namespace tetherhost {

// Reads an audio stream block by block from a position on, as a host's audio
// engine does: each read names its position, and the source serves it.
class AudioPuller {
 public:
  // Throws HostError if the stream has no sample rate or no channels.
  AudioPuller(DR::IAudioSource& audio, uint32_t framesPerBlock);

  int32_t sampleRate() const { return mSampleRate; }
  uint32_t channels() const { return mChannels; }
  // The speaker position of each channel, as the stream states them; empty
  // when it states none.
  std::vector<kilnmediatypes::AudioChannelLabel> Labels() const;

  // Reads the block at sample frame `frame` into the returned buffer. Throws
  // HostError with the module's code if the read fails.
  const kilnaudiotoolkit::AudioBuffer& Read(int64_t frame);

  // The sample frame that holds `time`.
  int64_t FrameAt(kilnmediatypes::TickTime time) const;

 private:
  DR::IAudioSource& mAudio;
  int64_t mTicksPerSample = 0;
  int32_t mSampleRate = 0;
  uint32_t mChannels = 0;
  kilnaudiotoolkit::AudioBuffer mBuffer;
};

}  // namespace tetherhost
