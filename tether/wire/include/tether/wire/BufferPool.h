#pragma once

#include <tether/wire/SharedBuffer.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace tether::wire {

// The producer's shared buffers for one peer: handed out for one frame or
// block, given back when the peer says that its last reference is gone, and
// handed out again. The peer maps each buffer once, on its first trip, and
// keeps the mapping, so steady playback costs no mmap, munmap or page fault on
// either side. Thread-safe.
class BufferPool {
 public:
  struct Options {
    // False: a fresh buffer for every lease, destroyed on release (the cold road,
    // for comparison).
    bool recycle = true;
    // Idle buffers beyond this many bytes are destroyed, smallest use first.
    size_t maxIdleBytes = size_t{768} << 20;
  };

  struct Lease {
    uint32_t id = 0;
    SharedBuffer* buffer = nullptr;
    // The peer hasn't got this buffer's descriptor yet: send it along.
    bool sendDescriptor = false;
  };

  BufferPool() : BufferPool(Options{}) {}
  explicit BufferPool(Options options) : mOptions(options) {}

  // A buffer of at least `bytes`, the caller's until Release. Throws
  // std::system_error if no memory can be had.
  Lease Acquire(size_t bytes);
  // The peer is done with `id`. False for an id that isn't leased (a confused
  // or hostile peer); nothing changes then.
  bool Release(uint32_t id);
  // Gives back a lease whose buffer never went to the peer (a failed or
  // cancelled render). Unlike Release it remembers that the peer hasn't got a
  // buffer that it was about to get for the first time, so that its next trip
  // carries the descriptor.
  void Abandon(const Lease& lease);
  // Buffers destroyed since the last call that the peer still has mapped: it is
  // told to drop them.
  std::vector<uint32_t> TakeForgotten();

  bool Recycles() const { return mOptions.recycle; }
  size_t LeasedCount() const;
  size_t BufferCount() const;

 private:
  struct Entry {
    std::unique_ptr<SharedBuffer> buffer;
    bool leased = false;
    bool peerHasIt = false;
  };

  void EvictIdleLocked();
  bool ReleaseLocked(uint32_t id, std::unique_ptr<SharedBuffer>& doomed);

  const Options mOptions;
  mutable std::mutex mMutex;
  uint32_t mNextId = 1;
  std::map<uint32_t, Entry> mEntries;
  // Idle buffers by capacity.
  std::multimap<size_t, uint32_t> mIdle;
  size_t mIdleBytes = 0;
  std::vector<uint32_t> mForgotten;
};

}  // namespace tether::wire
