#include <tether/wire/BufferPool.h>

namespace tether::wire {

BufferPool::Lease BufferPool::Acquire(size_t bytes) {
  const size_t capacity = RoundUpToPages(bytes);
  {
    std::lock_guard lock(mMutex);
    // A buffer may be up to twice what is asked, so that frames of slightly
    // different sizes share buffers without wasting much.
    auto it = mIdle.lower_bound(capacity);
    if (it != mIdle.end() && it->first <= 2 * capacity) {
      uint32_t id = it->second;
      mIdleBytes -= it->first;
      mIdle.erase(it);
      Entry& entry = mEntries.at(id);
      entry.leased = true;
      bool send = !entry.peerHasIt;
      entry.peerHasIt = true;
      return Lease{id, entry.buffer.get(), send};
    }
  }
  // Creating memory happens outside the lock: it is the slow road.
  auto buffer = SharedBuffer::Create(capacity);
  std::lock_guard lock(mMutex);
  uint32_t id = mNextId++;
  if (mNextId == 0) {
    mNextId = 1;
  }
  SharedBuffer* raw = buffer.get();
  mEntries[id] = Entry{std::move(buffer), true, true};
  return Lease{id, raw, true};
}

bool BufferPool::Release(uint32_t id) {
  // Declared before the lock: a destroyed buffer is unmapped after unlocking.
  std::unique_ptr<SharedBuffer> doomed;
  std::lock_guard lock(mMutex);
  return ReleaseLocked(id, doomed);
}

void BufferPool::Abandon(const Lease& lease) {
  std::unique_ptr<SharedBuffer> doomed;
  std::lock_guard lock(mMutex);
  auto it = mEntries.find(lease.id);
  if (it != mEntries.end() && it->second.leased && lease.sendDescriptor) {
    it->second.peerHasIt = false;
  }
  ReleaseLocked(lease.id, doomed);
}

bool BufferPool::ReleaseLocked(uint32_t id, std::unique_ptr<SharedBuffer>& doomed) {
  auto it = mEntries.find(id);
  if (it == mEntries.end() || !it->second.leased) {
    return false;
  }
  if (!mOptions.recycle) {
    doomed = std::move(it->second.buffer);
    mEntries.erase(it);
    return true;
  }
  it->second.leased = false;
  size_t capacity = it->second.buffer->Capacity();
  mIdle.emplace(capacity, id);
  mIdleBytes += capacity;
  EvictIdleLocked();
  return true;
}

void BufferPool::EvictIdleLocked() {
  while (mIdleBytes > mOptions.maxIdleBytes && !mIdle.empty()) {
    auto smallest = mIdle.begin();
    uint32_t id = smallest->second;
    mIdleBytes -= smallest->first;
    mIdle.erase(smallest);
    auto entry = mEntries.find(id);
    // Only a buffer the peer has mapped needs telling about.
    if (entry->second.peerHasIt) {
      mForgotten.push_back(id);
    }
    mEntries.erase(entry);
  }
}

std::vector<uint32_t> BufferPool::TakeForgotten() {
  std::lock_guard lock(mMutex);
  return std::exchange(mForgotten, {});
}

size_t BufferPool::LeasedCount() const {
  std::lock_guard lock(mMutex);
  size_t count = 0;
  for (const auto& [id, entry] : mEntries) {
    count += entry.leased ? 1 : 0;
  }
  return count;
}

size_t BufferPool::BufferCount() const {
  std::lock_guard lock(mMutex);
  return mEntries.size();
}

}  // namespace tether::wire
