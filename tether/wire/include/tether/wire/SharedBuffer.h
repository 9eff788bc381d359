#pragma once

#include <tether/wire/UniqueFd.h>

#include <cstddef>
#include <memory>

namespace tether::wire {

// A writable block of shared memory on the producing side: a memfd sealed
// against shrinking and growing, so that a reader that mapped it can trust its
// size for as long as it holds the mapping.
class SharedBuffer {
 public:
  // A block of at least `capacity` bytes (rounded up to whole pages), mapped and
  // touched once so that writing to it later costs no page fault. Throws
  // std::system_error.
  static std::unique_ptr<SharedBuffer> Create(size_t capacity);

  ~SharedBuffer();
  SharedBuffer(const SharedBuffer&) = delete;
  SharedBuffer& operator=(const SharedBuffer&) = delete;

  unsigned char* Data() { return static_cast<unsigned char*>(mAddress); }
  size_t Capacity() const { return mCapacity; }
  int Descriptor() const { return mFd.Get(); }

 private:
  SharedBuffer(UniqueFd fd, void* address, size_t capacity);

  UniqueFd mFd;
  void* mAddress;
  size_t mCapacity;
};

// The page size rounding that SharedBuffer applies.
size_t RoundUpToPages(size_t bytes);

}  // namespace tether::wire
