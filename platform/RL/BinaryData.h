#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace RL {

// A counted block of bytes, the host's form of an opaque blob (prefs, XMP,
// modification states).
//
// The bytes never change once made, so copies share one buffer and copying is
// cheap; a BinaryData may be copied and read on any threads. An empty block has
// no buffer at all: GetData() is null and GetSize() is 0.
class BinaryData {
 public:
  BinaryData() noexcept = default;

  // Copies `size` bytes from `data`. A size of 0 makes an empty block, and then
  // `data` may be null.
  BinaryData(const void* data, size_t size);

  explicit BinaryData(std::span<const uint8_t> bytes) : BinaryData(bytes.data(), bytes.size()) {}
  explicit BinaryData(const std::vector<uint8_t>& bytes) : BinaryData(bytes.data(), bytes.size()) {}

  // The bytes of `text`, without a terminator.
  static BinaryData FromString(std::string_view text) { return BinaryData(text.data(), text.size()); }

  BinaryData(const BinaryData&) noexcept = default;
  BinaryData& operator=(const BinaryData&) noexcept = default;
  BinaryData(BinaryData&& other) noexcept;
  BinaryData& operator=(BinaryData&& other) noexcept;
  ~BinaryData() = default;

  // The first byte, or null when the block is empty.
  const uint8_t* GetData() const noexcept { return mBytes.get(); }
  size_t GetSize() const noexcept { return mSize; }
  bool IsEmpty() const noexcept { return mSize == 0; }

  std::span<const uint8_t> AsSpan() const noexcept { return {mBytes.get(), mSize}; }
  std::vector<uint8_t> ToVector() const { return {mBytes.get(), mBytes.get() + mSize}; }

  // Equal when the bytes are equal; two empty blocks are equal.
  friend bool operator==(const BinaryData& a, const BinaryData& b) noexcept;

 private:
  std::shared_ptr<const uint8_t[]> mBytes;
  size_t mSize = 0;
};

}  // namespace RL
