#pragma once

#include "host/output/OutputFile.h"

#include <kilnmediatypes/AudioChannelDescription.h>

#include <cstdint>
#include <filesystem>
#include <vector>

struct sf_private_tag;

namespace tetherhost {

// A 32-bit float WAV file written block by block through libsndfile, in the
// per-channel (planar) layout in which the module's audio buffers come.
//
// The file is written as RF64, which libsndfile turns into a plain WAV on
// closing when the data stayed under 4 GiB: a plain WAV's sizes are 32 bits,
// and a longer one would wrap. Speaker positions, when every channel has one,
// go into the file's channel mask (WAVE_FORMAT_EXTENSIBLE), so that readers
// place a 5.1 mix right. The file appears under its name only once Close()
// has finished it (see OutputFile).
class WavFile {
 public:
  // Bytes of one sample frame of one channel in the file.
  static constexpr int64_t kBytesPerSample = 4;

  // Starts the file. `labels`, one per channel or empty, are the channels'
  // speaker positions. Throws std::runtime_error with libsndfile's message if
  // it cannot be opened, and std::invalid_argument for a channel count or
  // sample rate that is not positive, or labels that don't match the channels.
  WavFile(const std::filesystem::path& path, int32_t sampleRate, int32_t channels,
          const std::vector<kilnmediatypes::AudioChannelLabel>& labels = {});
  // Without Close(), the unfinished file is removed: a failed or interrupted
  // write leaves nothing under the file's name.
  ~WavFile();
  WavFile(const WavFile&) = delete;
  WavFile& operator=(const WavFile&) = delete;

  // Appends `frames` sample frames; `channels[c]` points at `frames` samples of
  // channel c. Throws std::invalid_argument if the number of channel pointers
  // differs from the file's, std::runtime_error if the write fails.
  void Append(const std::vector<const float*>& channels, int64_t frames);

  // Finishes the file and moves it to its name; later appends throw. Throws
  // std::runtime_error if the file cannot be finished.
  void Close();

  int64_t framesWritten() const { return mFramesWritten; }

  // Reads a whole file back as planar floats, for checks. Throws
  // std::runtime_error if it is not a sound file.
  struct Contents {
    int32_t sampleRate = 0;
    std::vector<std::vector<float>> channels;
    // libsndfile's channel map (SF_CHANNEL_MAP_...), empty when the file has none.
    std::vector<int> channelMap;
    // libsndfile's major format (SF_FORMAT_WAV, SF_FORMAT_RF64, ...).
    int majorFormat = 0;
  };
  static Contents Read(const std::filesystem::path& path);

 private:
  OutputFile mOutput;
  sf_private_tag* mFile = nullptr;
  int32_t mChannels;
  int64_t mFramesWritten = 0;
  std::vector<float> mInterleaved;
};

}  // namespace tetherhost
