#pragma once

#include <RL/IPane.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Guid.h>

#include <boost/intrusive/list.hpp>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace Pane {

// The frame cache shared by the whole host: rendered frames kept under the
// identifier of their pixels, so that a frame asked for twice, by any source
// or thread, is rendered once.
//
// The cache is bounded by a byte budget. Each frame is charged its
// GetDataSize() (at least one byte, so that the budget also bounds the number
// of entries). When an insertion takes the total above the budget, the least
// recently used frames are dropped until it fits again; a lookup that finds a
// frame makes it the most recently used.
//
// The cache holds frames by shared reference. Dropping a frame (eviction,
// replacement, Remove, Clear) only lets go of the cache's reference: whoever
// got the frame from the cache keeps a valid frame. References that the cache
// lets go of are released after its lock is given up, so that the release of a
// frame's memory never holds up other threads.
//
// All operations are safe to call from any thread. Each holds one mutex for a
// few map and list steps only.
//
// SharedPaneCache::Instance() is the host's cache; tests and tools may make
// caches of their own.
class SharedPaneCache {
 public:
  using Frame = kilncore::classref::InterfaceRef<RL::IPane>;

  // The budget of a new cache unless told otherwise: 1 GiB.
  static constexpr size_t kDefaultByteBudget = size_t{1} << 30;

  // What the cache has done since it was made or since ResetCounters. The
  // last three describe its content now, and are not reset.
  struct Statistics {
    uint64_t hits = 0;          // lookups that found a frame
    uint64_t misses = 0;        // lookups that found none
    uint64_t insertions = 0;    // frames stored under a new identifier
    uint64_t replacements = 0;  // frames stored under an identifier already held
    uint64_t evictions = 0;     // frames dropped to keep within the budget
    uint64_t rejections = 0;    // insertions refused: null frame, retention 0, or over the budget alone
    size_t bytes = 0;           // bytes charged for the frames held
    size_t entries = 0;         // frames held
    size_t byteBudget = 0;      // the budget

    friend bool operator==(const Statistics&, const Statistics&) = default;
  };

  // The host's cache, made at first use with kDefaultByteBudget. It lives for
  // the rest of the process; call Clear() to let go of its frames early.
  static SharedPaneCache& Instance();

  explicit SharedPaneCache(size_t byteBudget = kDefaultByteBudget);
  ~SharedPaneCache();

  SharedPaneCache(const SharedPaneCache&) = delete;
  SharedPaneCache& operator=(const SharedPaneCache&) = delete;

  // The frame stored under `identifier`, which becomes the most recently used;
  // null if there is none. Counts a hit or a miss.
  Frame RetrieveFromCache(const kilncore::utility::Guid& identifier);

  // Stores `frame` under `identifier` as the most recently used, replacing any
  // frame stored under it, then drops the least recently used frames until
  // the total fits in the budget.
  //
  // `retention` says how long the caller wants the frame kept: 0 asks for it
  // not to be kept at all; any other value keeps it under the recency rule
  // above. The value is recorded with the entry.
  //
  // Returns false, storing nothing and leaving any earlier frame under
  // `identifier` in place, if `frame` is null, `retention` is 0, or the frame
  // alone is larger than the budget.
  bool InsertIntoCache(const Frame& frame, const kilncore::utility::Guid& identifier, uint32_t retention);

  // Whether a frame is stored under `identifier`. Unlike RetrieveFromCache it
  // changes neither the recency order nor the counters.
  bool Contains(const kilncore::utility::Guid& identifier) const;

  // The retention recorded with the frame under `identifier`; 0 if none.
  uint32_t GetRetention(const kilncore::utility::Guid& identifier) const;

  // Drops the frame under `identifier`; false if there was none.
  bool Remove(const kilncore::utility::Guid& identifier);

  // Drops every frame. Counters are kept.
  void Clear();

  // Sets the budget and drops least recently used frames until the content
  // fits in it.
  void SetByteBudget(size_t byteBudget);
  size_t GetByteBudget() const;

  Statistics GetStatistics() const;
  // Sets the counters of activity (hits to rejections) back to 0.
  void ResetCounters();

  // The identifiers held, most recently used first. For tools and tests.
  std::vector<kilncore::utility::Guid> GetIdentifiersByRecency() const;

 private:
  using Hook = boost::intrusive::list_base_hook<>;

  // One stored frame. Entries live in the map, whose nodes don't move, and are
  // linked into the recency list in place.
  struct Entry : Hook {
    kilncore::utility::Guid identifier;
    Frame frame;
    size_t bytes = 0;
    uint32_t retention = 0;
  };

  using RecencyList = boost::intrusive::list<Entry, boost::intrusive::constant_time_size<true>>;
  using EntryMap = std::unordered_map<kilncore::utility::Guid, Entry>;

  // Drops least recently used entries until the content fits in the budget,
  // moving their frames to `released` so that the caller can let go of them
  // after the lock. Called with mMutex held.
  void EvictToFitLocked(std::vector<Frame>& released);
  // Unlinks and erases `entry`, moving its frame to `released`. Called with
  // mMutex held.
  void EraseLocked(Entry& entry, std::vector<Frame>& released);

  mutable std::mutex mMutex;
  EntryMap mEntries;
  RecencyList mRecency;  // most recently used at the front
  size_t mBytes = 0;
  size_t mByteBudget;
  Statistics mCounters;  // only the activity counters are kept up to date here
};

}  // namespace Pane
