#pragma once

#include <tether/wire/UniqueFd.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tether::wire {

// The reading side of a SharedBuffer: a received descriptor, checked and mapped
// read-only once for as long as this object lives.
class MappedBuffer {
 public:
  // The largest block a reader accepts (a 16K frame of 16-bit RGBA and some).
  static constexpr uint64_t kMaxCapacity = 1ull << 31;

  // Checks `fd` before mapping: a regular file sealed against shrinking, whose
  // size (fstat) covers `capacity`, which must be between 1 and kMaxCapacity.
  // Maps `capacity` bytes read-only and closes the descriptor. Throws WireError
  // for a descriptor that fails a check, std::system_error if mapping fails.
  static std::shared_ptr<MappedBuffer> Map(UniqueFd fd, uint64_t capacity);

  ~MappedBuffer();
  MappedBuffer(const MappedBuffer&) = delete;
  MappedBuffer& operator=(const MappedBuffer&) = delete;

  const unsigned char* Data() const { return static_cast<const unsigned char*>(mAddress); }
  size_t Capacity() const { return mCapacity; }

 private:
  MappedBuffer(void* address, size_t capacity) : mAddress(address), mCapacity(capacity) {}

  void* mAddress;
  size_t mCapacity;
};

}  // namespace tether::wire
