#include <RL/BinaryData.h>

#include <cstring>
#include <utility>

namespace RL {

BinaryData::BinaryData(const void* data, size_t size) {
  if (size == 0) return;
  std::shared_ptr<uint8_t[]> bytes(new uint8_t[size]);
  std::memcpy(bytes.get(), data, size);
  mBytes = std::move(bytes);
  mSize = size;
}

BinaryData::BinaryData(BinaryData&& other) noexcept
    : mBytes(std::move(other.mBytes)), mSize(std::exchange(other.mSize, 0)) {}

BinaryData& BinaryData::operator=(BinaryData&& other) noexcept {
  if (this != &other) {
    mBytes = std::move(other.mBytes);
    mSize = std::exchange(other.mSize, 0);
  }
  return *this;
}

bool operator==(const BinaryData& a, const BinaryData& b) noexcept {
  if (a.mSize != b.mSize) return false;
  if (a.mBytes == b.mBytes || a.mSize == 0) return true;
  return std::memcmp(a.mBytes.get(), b.mBytes.get(), a.mSize) == 0;
}

}  // namespace RL
