#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

struct sf_private_tag;

namespace tetherhost {

// A 32-bit float WAV file written block by block through libsndfile, in the
// per-channel (planar) layout in which the module's audio buffers come.
class WavFile {
 public:
  // Creates or replaces the file. Throws std::runtime_error with libsndfile's
  // message if it cannot be opened, and std::invalid_argument for a channel
  // count or sample rate that is not positive.
  WavFile(const std::filesystem::path& path, int32_t sampleRate, int32_t channels);
  ~WavFile();
  WavFile(const WavFile&) = delete;
  WavFile& operator=(const WavFile&) = delete;

  // Appends `frames` sample frames; `channels[c]` points at `frames` samples of
  // channel c. Throws std::invalid_argument if the number of channel pointers
  // differs from the file's, std::runtime_error if the write fails.
  void Append(const std::vector<const float*>& channels, int64_t frames);

  // Flushes and closes; later appends throw. The destructor closes too.
  void Close();

  int64_t framesWritten() const { return mFramesWritten; }

  // Reads a whole file back as planar floats, for checks. Throws
  // std::runtime_error if it is not a sound file.
  struct Contents {
    int32_t sampleRate = 0;
    std::vector<std::vector<float>> channels;
  };
  static Contents Read(const std::filesystem::path& path);

 private:
  sf_private_tag* mFile = nullptr;
  int32_t mChannels;
  int64_t mFramesWritten = 0;
  std::vector<float> mInterleaved;
};

}  // namespace tetherhost
