#include "host/output/WavFile.h"

#include "host/output/Interleave.h"

#include <sndfile.h>

#include <stdexcept>
#include <string>

namespace tetherhost {
namespace {

// libsndfile's position for a speaker label; SF_CHANNEL_MAP_INVALID when the
// label names no position (a discrete channel).
int ChannelMapOf(kilnmediatypes::AudioChannelLabel label) {
  switch (label) {
    case kilnmediatypes::kAudioChannelLabel_Left: return SF_CHANNEL_MAP_LEFT;
    case kilnmediatypes::kAudioChannelLabel_Right: return SF_CHANNEL_MAP_RIGHT;
    case kilnmediatypes::kAudioChannelLabel_Center: return SF_CHANNEL_MAP_CENTER;
    case kilnmediatypes::kAudioChannelLabel_LowFrequency: return SF_CHANNEL_MAP_LFE;
    case kilnmediatypes::kAudioChannelLabel_LeftSurround: return SF_CHANNEL_MAP_REAR_LEFT;
    case kilnmediatypes::kAudioChannelLabel_RightSurround: return SF_CHANNEL_MAP_REAR_RIGHT;
    case kilnmediatypes::kAudioChannelLabel_LeftSideSurround: return SF_CHANNEL_MAP_SIDE_LEFT;
    case kilnmediatypes::kAudioChannelLabel_RightSideSurround: return SF_CHANNEL_MAP_SIDE_RIGHT;
    case kilnmediatypes::kAudioChannelLabel_Mono: return SF_CHANNEL_MAP_MONO;
    case kilnmediatypes::kAudioChannelLabel_Discrete: break;
  }
  return SF_CHANNEL_MAP_INVALID;
}

// The channel map for `labels`: empty unless every channel has a position.
std::vector<int> ChannelMapOf(const std::vector<kilnmediatypes::AudioChannelLabel>& labels) {
  std::vector<int> map;
  for (const auto label : labels) {
    const int position = ChannelMapOf(label);
    if (position == SF_CHANNEL_MAP_INVALID) return {};
    map.push_back(position);
  }
  return map;
}

}  // namespace

WavFile::WavFile(const std::filesystem::path& path, int32_t sampleRate, int32_t channels,
                 const std::vector<kilnmediatypes::AudioChannelLabel>& labels)
    : mOutput(path), mChannels(channels) {
  if (sampleRate <= 0 || channels <= 0) {
    throw std::invalid_argument("WavFile: sample rate and channel count must be positive");
  }
  if (!labels.empty() && static_cast<int32_t>(labels.size()) != channels) {
    throw std::invalid_argument("WavFile: one speaker label per channel, or none");
  }
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = channels;
  info.format = SF_FORMAT_RF64 | SF_FORMAT_FLOAT;
  mFile = sf_open(mOutput.temporary().c_str(), SFM_WRITE, &info);
  if (mFile == nullptr) {
    throw std::runtime_error("cannot write " + path.string() + ": " + sf_strerror(nullptr));
  }
  sf_command(mFile, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
  std::vector<int> map = ChannelMapOf(labels);
  if (map.size() > 1) {
    sf_command(mFile, SFC_SET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int)));
  }
}

WavFile::~WavFile() {
  if (mFile != nullptr) sf_close(mFile);
}

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
  Interleave(channels, frames, mInterleaved);
  if (sf_writef_float(mFile, mInterleaved.data(), frames) != frames) {
    throw std::runtime_error(std::string("WavFile: write failed: ") + sf_strerror(mFile));
  }
  mFramesWritten += frames;
}

void WavFile::Close() {
  if (mFile == nullptr) return;
  const int result = sf_close(mFile);
  mFile = nullptr;
  if (result != 0) {
    throw std::runtime_error("cannot finish " + mOutput.path().string() + ": " + sf_error_number(result));
  }
  mOutput.Commit();
}

WavFile::Contents WavFile::Read(const std::filesystem::path& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    throw std::runtime_error("cannot read " + path.string() + ": " + sf_strerror(nullptr));
  }
  Contents contents;
  contents.majorFormat = info.format & SF_FORMAT_TYPEMASK;
  std::vector<int> map(static_cast<size_t>(info.channels));
  if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int))) ==
      SF_TRUE) {
    contents.channelMap = map;
  }
  std::vector<float> interleaved(static_cast<size_t>(info.frames) * static_cast<size_t>(info.channels));
  const sf_count_t got = sf_readf_float(file, interleaved.data(), info.frames);
  sf_close(file);
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
