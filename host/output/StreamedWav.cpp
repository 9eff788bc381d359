#include "host/output/StreamedWav.h"

#include "host/output/Interleave.h"

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace tetherhost {
namespace {

constexpr uint16_t kFormatExtensible = 0xFFFE;
constexpr uint32_t kUnknownSize = 0xFFFFFFFFu;
// KSDATAFORMAT_SUBTYPE_IEEE_FLOAT: 00000003-0000-0010-8000-00aa00389b71.
constexpr uint8_t kFloatSubFormat[16] = {0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                         0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

uint32_t SpeakerBit(kilnmediatypes::AudioChannelLabel label) {
  switch (label) {
    case kilnmediatypes::kAudioChannelLabel_Left: return 0x1;
    case kilnmediatypes::kAudioChannelLabel_Right: return 0x2;
    case kilnmediatypes::kAudioChannelLabel_Center: return 0x4;
    case kilnmediatypes::kAudioChannelLabel_Mono: return 0x4;
    case kilnmediatypes::kAudioChannelLabel_LowFrequency: return 0x8;
    case kilnmediatypes::kAudioChannelLabel_LeftSurround: return 0x10;
    case kilnmediatypes::kAudioChannelLabel_RightSurround: return 0x20;
    case kilnmediatypes::kAudioChannelLabel_LeftSideSurround: return 0x200;
    case kilnmediatypes::kAudioChannelLabel_RightSideSurround: return 0x400;
    case kilnmediatypes::kAudioChannelLabel_Discrete: break;
  }
  return 0;
}

constexpr uint32_t kFormatChunk = 40;
// RIFF header, "fmt " chunk, "data" chunk header.
constexpr size_t kHeaderBytes = 12 + 8 + kFormatChunk + 8;

// Little-endian fields, as RIFF has them, into a header of known size.
class Header {
 public:
  void Text(const char* four) { Put(four, 4); }
  void U16(uint16_t value) { Little(value, 2); }
  void U32(uint32_t value) { Little(value, 4); }
  void Put(const void* bytes, size_t size) {
    if (mUsed + size > mBytes.size()) throw std::logic_error("StreamedWav: header overflow");
    std::memcpy(mBytes.data() + mUsed, bytes, size);
    mUsed += size;
  }
  const std::array<uint8_t, kHeaderBytes>& bytes() const { return mBytes; }

 private:
  void Little(uint32_t value, size_t size) {
    uint8_t bytes[4];
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
    Put(bytes, size);
  }
  std::array<uint8_t, kHeaderBytes> mBytes{};
  size_t mUsed = 0;
};

}  // namespace

uint32_t StreamedWav::ChannelMask(const std::vector<kilnmediatypes::AudioChannelLabel>& labels) {
  uint32_t mask = 0;
  for (const auto label : labels) {
    const uint32_t bit = SpeakerBit(label);
    // Channels appear in the order of their bits; anything else has no mask.
    if (bit == 0 || bit <= mask) return 0;
    mask |= bit;
  }
  return mask;
}

StreamedWav::StreamedWav(std::FILE* out, int32_t sampleRate, int32_t channels, int64_t frames,
                         const std::vector<kilnmediatypes::AudioChannelLabel>& labels)
    : mOut(out, "the WAV stream"), mChannels(channels), mFramesLeft(frames) {
  if (sampleRate <= 0 || channels <= 0 || frames < 0) {
    throw std::invalid_argument("StreamedWav: sample rate and channel count must be positive");
  }
  if (!labels.empty() && static_cast<int32_t>(labels.size()) != channels) {
    throw std::invalid_argument("StreamedWav: one speaker label per channel, or none");
  }
  static_assert(std::endian::native == std::endian::little, "samples are written in the machine's order");
  const uint32_t blockAlign = static_cast<uint32_t>(channels) * 4;
  const uint64_t dataBytes = static_cast<uint64_t>(frames) * blockAlign;
  const uint64_t riffBytes = 4 + (8 + kFormatChunk) + 8 + dataBytes;
  const bool fits = riffBytes <= std::numeric_limits<uint32_t>::max();
  Header header;
  header.Text("RIFF");
  header.U32(fits ? static_cast<uint32_t>(riffBytes) : kUnknownSize);
  header.Text("WAVE");
  header.Text("fmt ");
  header.U32(kFormatChunk);
  header.U16(kFormatExtensible);
  header.U16(static_cast<uint16_t>(channels));
  header.U32(static_cast<uint32_t>(sampleRate));
  header.U32(static_cast<uint32_t>(sampleRate) * blockAlign);
  header.U16(static_cast<uint16_t>(blockAlign));
  header.U16(32);
  header.U16(22);  // size of the extension
  header.U16(32);  // valid bits
  header.U32(ChannelMask(labels));
  header.Put(kFloatSubFormat, sizeof(kFloatSubFormat));
  header.Text("data");
  header.U32(fits ? static_cast<uint32_t>(dataBytes) : kUnknownSize);
  mOut.Put(header.bytes().data(), header.bytes().size());
}

void StreamedWav::Append(const std::vector<const float*>& channels, int64_t frames) {
  if (static_cast<int32_t>(channels.size()) != mChannels) {
    throw std::invalid_argument("StreamedWav: channel count differs from the stream's");
  }
  if (frames > mFramesLeft) throw std::invalid_argument("StreamedWav: more frames than the header announced");
  if (frames <= 0) return;
  Interleave(channels, frames, mInterleaved);
  mOut.Put(mInterleaved.data(), mInterleaved.size() * sizeof(float));
  mFramesLeft -= frames;
}

}  // namespace tetherhost
