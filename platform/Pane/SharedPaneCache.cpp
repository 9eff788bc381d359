#include <Pane/SharedPaneCache.h>

#include <algorithm>
#include <utility>

namespace Pane {

namespace {

size_t ChargeFor(const SharedPaneCache::Frame& frame) { return std::max<size_t>(frame->GetDataSize(), 1); }

}  // namespace

SharedPaneCache& SharedPaneCache::Instance() {
  // Never destroyed: host threads may still look frames up while static
  // objects are being torn down at exit.
  static SharedPaneCache* const instance = new SharedPaneCache();
  return *instance;
}

SharedPaneCache::SharedPaneCache(size_t byteBudget) : mByteBudget(byteBudget) {}

SharedPaneCache::~SharedPaneCache() {
  // The entries' hooks must be unlinked before the map destroys them.
  mRecency.clear();
}

SharedPaneCache::Frame SharedPaneCache::RetrieveFromCache(const kilncore::utility::Guid& identifier) {
  std::lock_guard lock(mMutex);
  const auto found = mEntries.find(identifier);
  if (found == mEntries.end()) {
    ++mCounters.misses;
    return Frame();
  }
  ++mCounters.hits;
  Entry& entry = found->second;
  mRecency.splice(mRecency.begin(), mRecency, mRecency.iterator_to(entry));
  return entry.frame;
}

bool SharedPaneCache::InsertIntoCache(const Frame& frame, const kilncore::utility::Guid& identifier,
                                      uint32_t retention) {
  // Declared before the lock so that the frames let go of are released after
  // the lock is.
  std::vector<Frame> released;
  const size_t bytes = frame ? ChargeFor(frame) : 0;
  std::lock_guard lock(mMutex);
  if (!frame || retention == 0 || bytes > mByteBudget) {
    ++mCounters.rejections;
    return false;
  }
  auto [found, inserted] = mEntries.try_emplace(identifier);
  Entry& entry = found->second;
  if (inserted) {
    entry.identifier = identifier;
    mRecency.push_front(entry);
    ++mCounters.insertions;
  } else {
    released.push_back(std::move(entry.frame));
    mBytes -= entry.bytes;
    mRecency.splice(mRecency.begin(), mRecency, mRecency.iterator_to(entry));
    ++mCounters.replacements;
  }
  entry.frame = frame;
  entry.bytes = bytes;
  entry.retention = retention;
  mBytes += bytes;
  EvictToFitLocked(released);
  return true;
}

bool SharedPaneCache::Contains(const kilncore::utility::Guid& identifier) const {
  std::lock_guard lock(mMutex);
  return mEntries.contains(identifier);
}

uint32_t SharedPaneCache::GetRetention(const kilncore::utility::Guid& identifier) const {
  std::lock_guard lock(mMutex);
  const auto found = mEntries.find(identifier);
  return found == mEntries.end() ? 0 : found->second.retention;
}

bool SharedPaneCache::Remove(const kilncore::utility::Guid& identifier) {
  std::vector<Frame> released;
  std::lock_guard lock(mMutex);
  const auto found = mEntries.find(identifier);
  if (found == mEntries.end()) return false;
  EraseLocked(found->second, released);
  return true;
}

void SharedPaneCache::Clear() {
  EntryMap dropped;
  {
    std::lock_guard lock(mMutex);
    mRecency.clear();
    dropped.swap(mEntries);
    mBytes = 0;
  }
}

void SharedPaneCache::SetByteBudget(size_t byteBudget) {
  std::vector<Frame> released;
  std::lock_guard lock(mMutex);
  mByteBudget = byteBudget;
  EvictToFitLocked(released);
}

size_t SharedPaneCache::GetByteBudget() const {
  std::lock_guard lock(mMutex);
  return mByteBudget;
}

SharedPaneCache::Statistics SharedPaneCache::GetStatistics() const {
  std::lock_guard lock(mMutex);
  Statistics statistics = mCounters;
  statistics.bytes = mBytes;
  statistics.entries = mEntries.size();
  statistics.byteBudget = mByteBudget;
  return statistics;
}

void SharedPaneCache::ResetCounters() {
  std::lock_guard lock(mMutex);
  mCounters = Statistics();
}

std::vector<kilncore::utility::Guid> SharedPaneCache::GetIdentifiersByRecency() const {
  std::lock_guard lock(mMutex);
  std::vector<kilncore::utility::Guid> identifiers;
  identifiers.reserve(mRecency.size());
  for (const Entry& entry : mRecency) identifiers.push_back(entry.identifier);
  return identifiers;
}

void SharedPaneCache::EvictToFitLocked(std::vector<Frame>& released) {
  while (mBytes > mByteBudget && !mRecency.empty()) {
    EraseLocked(mRecency.back(), released);
    ++mCounters.evictions;
  }
}

void SharedPaneCache::EraseLocked(Entry& entry, std::vector<Frame>& released) {
  released.push_back(std::move(entry.frame));
  mBytes -= entry.bytes;
  mRecency.erase(mRecency.iterator_to(entry));
  // Copied first: erasing by key would read the key from the entry being erased.
  const kilncore::utility::Guid identifier = entry.identifier;
  mEntries.erase(identifier);
}

}  // namespace Pane
