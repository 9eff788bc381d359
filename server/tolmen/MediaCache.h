#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tetherserver {

// The media files that a host project's clips show, decoded once and kept for
// the life of the opened project: PNG images (libpng) as 8-bit RGBA, WAV files
// (libsndfile) as interleaved floats. A file that is missing or can't be
// decoded is remembered as such (null). Thread-safe.
class MediaCache {
 public:
  struct Image {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> rgba;  // rows top first, 4 bytes a pixel
  };
  struct Sound {
    uint32_t sampleRate = 0;
    uint32_t channels = 0;
    std::vector<float> samples;  // interleaved
  };

  // Larger media is refused rather than held in memory.
  static constexpr uint64_t kMaxImagePixels = uint64_t{1} << 26;
  static constexpr uint64_t kMaxSoundSamples = uint64_t{1} << 25;

  std::shared_ptr<const Image> FindImage(const std::string& path);
  std::shared_ptr<const Sound> FindSound(const std::string& path);

  static std::shared_ptr<const Image> DecodePNG(const std::string& path);
  static std::shared_ptr<const Sound> DecodeWAV(const std::string& path);

 private:
  template <class Media, class Decode>
  std::shared_ptr<const Media> FindOrDecode(std::map<std::string, std::shared_ptr<const Media>>& cache,
                                            const std::string& path, Decode decode);

  std::mutex mMutex;
  std::map<std::string, std::shared_ptr<const Image>> mImages;
  std::map<std::string, std::shared_ptr<const Sound>> mSounds;
};

}  // namespace tetherserver
