#pragma once

#include <processcoordination/BinaryReference.h>

#include <atomic>
#include <cstddef>
#include <memory>

namespace processcoordination {

// A BinaryReference over an anonymous shared-memory file (memfd): what a local
// backend hands out, and what a remote one builds around a received descriptor.
//
// The bytes are mapped once, for the object's life; GetAddress and
// ReleaseAddress only count their uses, so that tests can check that every
// reader released what it took.
class SharedMemoryBinaryReference : public BinaryReference {
 public:
  // A new zero-filled block of `size` bytes (0 is allowed). Throws
  // std::system_error if the system refuses the memory.
  static std::shared_ptr<SharedMemoryBinaryReference> Create(size_t size);

  // Maps `size` bytes of the shared-memory descriptor `fd`, which the object
  // takes over (and closes). Throws std::system_error on failure.
  static std::shared_ptr<SharedMemoryBinaryReference> Adopt(int fd, size_t size);

  ~SharedMemoryBinaryReference() override;
  SharedMemoryBinaryReference(const SharedMemoryBinaryReference&) = delete;
  SharedMemoryBinaryReference& operator=(const SharedMemoryBinaryReference&) = delete;

  void* GetAddress() override;
  size_t GetSize() const override { return mSize; }
  void ReleaseAddress() override;

  // The descriptor, for handing the block to another process.
  int GetDescriptor() const { return mFd; }
  // The mapped bytes, for the producer to fill, without counting a use.
  unsigned char* Data() { return static_cast<unsigned char*>(mAddress); }
  // GetAddress calls not yet balanced by ReleaseAddress.
  int GetOutstandingAddressCount() const { return mOutstanding.load(); }

 private:
  SharedMemoryBinaryReference(int fd, void* address, size_t size);

  int mFd;
  void* mAddress;
  size_t mSize;
  std::atomic<int> mOutstanding{0};
};

}  // namespace processcoordination
