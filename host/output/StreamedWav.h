#pragma once

#include "host/output/ByteStream.h"

#include <kilnmediatypes/AudioChannelDescription.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace tetherhost {

// A 32-bit float WAV written front to back to a stream that can't seek, such
// as a pipe to ffmpeg: the header is written first with the sizes of the
// whole file, which the writer is told beforehand (a WAV whose data passes
// 4 GiB states 0xFFFFFFFF, "size unknown", as streaming readers expect). The
// header is WAVE_FORMAT_EXTENSIBLE with the channel mask of the speaker labels.
class StreamedWav {
 public:
  // Writes the header to `out` (not owned) for `frames` sample frames.
  // Throws std::invalid_argument for a rate or channel count that isn't
  // positive or labels that don't match the channels.
  StreamedWav(std::FILE* out, int32_t sampleRate, int32_t channels, int64_t frames,
              const std::vector<kilnmediatypes::AudioChannelLabel>& labels = {});

  // Appends `frames` sample frames; `channels[c]` points at channel c's.
  // Throws std::invalid_argument for a wrong channel count or more frames than
  // the header announced, std::runtime_error when the stream can't be written.
  void Append(const std::vector<const float*>& channels, int64_t frames);

  // The WAVE channel mask of `labels` (bit 0 front left ...); 0 when a channel
  // has no position or the positions are not in the order the mask implies.
  static uint32_t ChannelMask(const std::vector<kilnmediatypes::AudioChannelLabel>& labels);

 private:
  ByteStream mOut;
  int32_t mChannels;
  int64_t mFramesLeft;
  std::vector<float> mInterleaved;
};

}  // namespace tetherhost
