#include "host/output/WavFile.h"

#include <sndfile.h>

#include <stdexcept>
#include <string>

namespace tetherhost {

WavFile::WavFile(const std::filesystem::path& path, int32_t sampleRate, int32_t channels)
    : mChannels(channels) {
  if (sampleRate <= 0 || channels <= 0) {
    throw std::invalid_argument("WavFile: sample rate and channel count must be positive");
  }
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = channels;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  mFile = sf_open(path.c_str(), SFM_WRITE, &info);
  if (mFile == nullptr) {
    throw std::runtime_error("cannot write " + path.string() + ": " + sf_strerror(nullptr));
  }
}

WavFile::~WavFile() { Close(); }

void WavFile::Append(const std::vector<const float*>& channels, int64_t frames) {
  if (mFile == nullptr) {
    throw std::runtime_error("WavFile: append after close");
  }
  if (static_cast<int32_t>(channels.size()) != mChannels) {
    throw std::invalid_argument("WavFile: channel count differs from the file's");
  }
  if (frames <= 0) {
    return;
  }
  // libsndfile writes interleaved frames; the buffer is kept between blocks so
  // steady writing allocates nothing.
  mInterleaved.resize(static_cast<size_t>(frames) * static_cast<size_t>(mChannels));
  for (int64_t frame = 0; frame < frames; ++frame) {
    for (int32_t c = 0; c < mChannels; ++c) {
      mInterleaved[static_cast<size_t>(frame * mChannels + c)] = channels[static_cast<size_t>(c)][frame];
    }
  }
  if (sf_writef_float(mFile, mInterleaved.data(), frames) != frames) {
    throw std::runtime_error(std::string("WavFile: write failed: ") + sf_strerror(mFile));
  }
  mFramesWritten += frames;
}

void WavFile::Close() {
  if (mFile != nullptr) {
    sf_close(mFile);
    mFile = nullptr;
  }
}

WavFile::Contents WavFile::Read(const std::filesystem::path& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    throw std::runtime_error("cannot read " + path.string() + ": " + sf_strerror(nullptr));
  }
  std::vector<float> interleaved(static_cast<size_t>(info.frames) * static_cast<size_t>(info.channels));
  const sf_count_t got = sf_readf_float(file, interleaved.data(), info.frames);
  sf_close(file);
  Contents contents;
  contents.sampleRate = info.samplerate;
  contents.channels.assign(static_cast<size_t>(info.channels), std::vector<float>(static_cast<size_t>(got)));
  for (sf_count_t frame = 0; frame < got; ++frame) {
    for (int c = 0; c < info.channels; ++c) {
      contents.channels[static_cast<size_t>(c)][static_cast<size_t>(frame)] =
          interleaved[static_cast<size_t>(frame * info.channels + c)];
    }
  }
  return contents;
}

}  // namespace tetherhost
