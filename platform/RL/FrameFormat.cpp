#include <RL/FrameFormat.h>

#include <cstdlib>
#include <numeric>

namespace RL {

namespace {

void PutLittleEndian(uint8_t* out, uint32_t value) noexcept {
  out[0] = static_cast<uint8_t>(value);
  out[1] = static_cast<uint8_t>(value >> 8);
  out[2] = static_cast<uint8_t>(value >> 16);
  out[3] = static_cast<uint8_t>(value >> 24);
}

void PutLittleEndian(uint8_t* out, int32_t value) noexcept {
  PutLittleEndian(out, static_cast<uint32_t>(value));
}

// The lowest-terms form of a ratio with a positive denominator, computed in 64
// bits so that INT32_MIN can't overflow. Ratios of equal value give the same
// pair, which is what lets equal formats hash equal.
kilnmediatypes::PixelAspectRatio Reduced(const kilnmediatypes::PixelAspectRatio& ratio) noexcept {
  if (ratio.denominator == 0) return ratio;
  int64_t numerator = ratio.numerator;
  int64_t denominator = ratio.denominator;
  if (denominator < 0) {
    numerator = -numerator;
    denominator = -denominator;
  }
  const int64_t divisor = std::gcd(numerator, denominator);  // > 0: denominator isn't 0
  return {static_cast<int32_t>(numerator / divisor), static_cast<int32_t>(denominator / divisor)};
}

}  // namespace

std::array<uint8_t, FrameFormat::kHashByteCount> FrameFormat::GetHashBytes() const noexcept {
  std::array<uint8_t, kHashByteCount> bytes{};
  const kilnmediatypes::PixelAspectRatio ratio = Reduced(pixelAspectRatio);
  PutLittleEndian(&bytes[0], pixelFormat.fourcc);
  PutLittleEndian(&bytes[4], pixelFormat.properties);
  PutLittleEndian(&bytes[8], pixelFormatFlags);
  PutLittleEndian(&bytes[12], width);
  PutLittleEndian(&bytes[16], height);
  PutLittleEndian(&bytes[20], ratio.numerator);
  PutLittleEndian(&bytes[24], ratio.denominator);
  PutLittleEndian(&bytes[28], static_cast<int32_t>(fieldType));
  PutLittleEndian(&bytes[32], renderQuality);
  PutLittleEndian(&bytes[36], captionStreamFormat);
  return bytes;
}

void FrameFormat::MixInWithHash(kilncore::utility::HashMixerState& state) const {
  const auto bytes = GetHashBytes();
  kilncore::utility::UpdateHashState(state, bytes.data(), bytes.size());
}

}  // namespace RL
