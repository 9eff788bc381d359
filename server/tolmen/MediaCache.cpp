#include <server/tolmen/MediaCache.h>

#include <png.h>
#include <sndfile.h>

#include <algorithm>
#include <cstring>

namespace tetherserver {

template <class Media, class Decode>
std::shared_ptr<const Media> MediaCache::FindOrDecode(std::map<std::string, std::shared_ptr<const Media>>& cache,
                                                     const std::string& path, Decode decode) {
  {
    std::lock_guard lock(mMutex);
    if (const auto found = cache.find(path); found != cache.end()) return found->second;
  }
  // Decoded without the lock; two threads may decode one file once each.
  std::shared_ptr<const Media> media = decode(path);
  std::lock_guard lock(mMutex);
  return cache.emplace(path, media).first->second;
}

std::shared_ptr<const MediaCache::Image> MediaCache::FindImage(const std::string& path) {
  return FindOrDecode(mImages, path, &DecodePNG);
}

std::shared_ptr<const MediaCache::Sound> MediaCache::FindSound(const std::string& path) {
  return FindOrDecode(mSounds, path, &DecodeWAV);
}

std::shared_ptr<const MediaCache::Image> MediaCache::DecodePNG(const std::string& path) {
  png_image png;
  std::memset(&png, 0, sizeof(png));
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&png, path.c_str())) return nullptr;
  if (png.width == 0 || png.height == 0 || uint64_t{png.width} * png.height > kMaxImagePixels) {
    png_image_free(&png);
    return nullptr;
  }
  png.format = PNG_FORMAT_RGBA;
  auto image = std::make_shared<Image>();
  image->width = png.width;
  image->height = png.height;
  image->rgba.resize(PNG_IMAGE_SIZE(png));
  if (!png_image_finish_read(&png, nullptr, image->rgba.data(), 0, nullptr)) {
    png_image_free(&png);
    return nullptr;
  }
  return image;
}

std::shared_ptr<const MediaCache::Sound> MediaCache::DecodeWAV(const std::string& path) {
  SF_INFO info;
  std::memset(&info, 0, sizeof(info));
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) return nullptr;
  std::shared_ptr<Sound> sound;
  const uint64_t total = static_cast<uint64_t>(info.frames) * static_cast<uint64_t>(info.channels);
  if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV && info.channels > 0 && info.samplerate > 0 &&
      info.frames >= 0 && total <= kMaxSoundSamples) {
    sound = std::make_shared<Sound>();
    sound->sampleRate = static_cast<uint32_t>(info.samplerate);
    sound->channels = static_cast<uint32_t>(info.channels);
    sound->samples.resize(total);
    const sf_count_t read = sf_readf_float(file, sound->samples.data(), info.frames);
    sound->samples.resize(static_cast<size_t>(std::max<sf_count_t>(read, 0)) * sound->channels);
  }
  sf_close(file);
  return sound;
}

}  // namespace tetherserver
