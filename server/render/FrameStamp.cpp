#include <server/render/FrameStamp.h>

#include <server/render/RenderSettings.h>

#include <kilnmediatypes/PixelFormat.h>

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace tetherserver {
namespace {

using Bytes = std::array<uint8_t, FrameStamp::kBytes>;
using kilnmediatypes::MakeFourCC;

constexpr uint8_t kMagic[4] = {'T', 'S', 'T', 'P'};
constexpr size_t kChecksumOffset = 60;

void PutUnsigned(Bytes& bytes, size_t offset, uint64_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint64_t GetUnsigned(const Bytes& bytes, size_t offset, size_t size) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value |= static_cast<uint64_t>(bytes[offset + i]) << (8 * i);
  return value;
}

uint32_t Checksum(const Bytes& bytes) {
  return static_cast<uint32_t>(XXH3_64bits(bytes.data(), kChecksumOffset));
}

Bytes Encode(const FrameStamp& stamp) {
  Bytes bytes{};
  std::memcpy(bytes.data(), kMagic, 4);
  bytes[4] = stamp.version;
  bytes[5] = stamp.pixelFormatCode;
  bytes[6] = stamp.fieldType;
  bytes[7] = stamp.flags;
  PutUnsigned(bytes, 8, static_cast<uint64_t>(stamp.ticks), 8);
  PutUnsigned(bytes, 16, static_cast<uint64_t>(stamp.frameNumber), 8);
  kilncore::utility::Guid::GuidToBytes(stamp.optionsHash, &bytes[24]);
  kilncore::utility::Guid::GuidToBytes(stamp.contentState, &bytes[40]);
  PutUnsigned(bytes, 56, stamp.width, 2);
  PutUnsigned(bytes, 58, stamp.height, 2);
  PutUnsigned(bytes, kChecksumOffset, Checksum(bytes), 4);
  return bytes;
}

std::optional<FrameStamp> Decode(const Bytes& bytes) {
  if (std::memcmp(bytes.data(), kMagic, 4) != 0) return std::nullopt;
  if (GetUnsigned(bytes, kChecksumOffset, 4) != Checksum(bytes)) return std::nullopt;
  FrameStamp stamp;
  stamp.version = bytes[4];
  stamp.pixelFormatCode = bytes[5];
  stamp.fieldType = bytes[6];
  stamp.flags = bytes[7];
  stamp.ticks = static_cast<int64_t>(GetUnsigned(bytes, 8, 8));
  stamp.frameNumber = static_cast<int64_t>(GetUnsigned(bytes, 16, 8));
  stamp.optionsHash = kilncore::utility::Guid::FromBytes(&bytes[24]);
  stamp.contentState = kilncore::utility::Guid::FromBytes(&bytes[40]);
  stamp.width = static_cast<uint16_t>(GetUnsigned(bytes, 56, 2));
  stamp.height = static_cast<uint16_t>(GetUnsigned(bytes, 58, 2));
  return stamp;
}

// A float channel that carries a stamp byte holds exactly byte / 255.
std::optional<uint8_t> FloatToByte(float value) {
  if (!(value >= 0.0f && value <= 1.0f)) return std::nullopt;
  const float scaled = value * 255.0f;
  const float rounded = std::round(scaled);
  if (std::fabs(scaled - rounded) > 0.01f) return std::nullopt;
  return static_cast<uint8_t>(rounded);
}

}  // namespace

uint8_t FrameStamp::PixelFormatCode(uint32_t fourcc) {
  switch (fourcc) {
    case MakeFourCC('B', 'G', 'R', 'A'):
      return 1;
    case MakeFourCC('R', 'G', 'B', 'A'):
      return 2;
    case MakeFourCC('B', 'G', 'R', 'F'):
      return 3;
    case MakeFourCC('R', 'G', 'B', 'F'):
      return 4;
    default:
      return 0;
  }
}

void WriteFrameStamp(const FrameStamp& stamp, const FrameBuffer& buffer) {
  if (!buffer.data || buffer.height == 0) return;
  const Bytes bytes = Encode(stamp);
  const size_t count = std::min<size_t>(FrameStamp::kBytes, size_t{buffer.width} * 4);
  if (IsFloatPixelFormatCode(buffer.format.fourcc)) {
    float* row = static_cast<float*>(buffer.data);
    for (size_t i = 0; i < count; ++i) row[i] = static_cast<float>(bytes[i]) / 255.0f;
  } else {
    std::memcpy(buffer.data, bytes.data(), count);
  }
}

std::optional<FrameStamp> ReadFrameStamp(const void* pixels, size_t byteCount) {
  if (!pixels || byteCount < FrameStamp::kBytes) return std::nullopt;
  Bytes bytes{};
  std::memcpy(bytes.data(), pixels, FrameStamp::kBytes);
  if (std::memcmp(bytes.data(), kMagic, 4) == 0) return Decode(bytes);
  if (byteCount < FrameStamp::kBytes * sizeof(float)) return std::nullopt;
  for (size_t i = 0; i < FrameStamp::kBytes; ++i) {
    float value;
    std::memcpy(&value, static_cast<const uint8_t*>(pixels) + i * sizeof(float), sizeof(float));
    const std::optional<uint8_t> byte = FloatToByte(value);
    if (!byte) return std::nullopt;
    bytes[i] = *byte;
  }
  return Decode(bytes);
}

}  // namespace tetherserver
