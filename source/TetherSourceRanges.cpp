#include <source/TetherSource.h>

#include <algorithm>
#include <iterator>

namespace TetherMedia {

using kilncore::threads::ScopedRecursiveLock;
using kilnmediatypes::TickTime;

// The lookups of the still ranges that a host project's server gave
// (TetherSourceServerRequests.cpp fetches them).

void TetherSource::ReplaceStillRanges(std::vector<TimeRange> ranges) {
  ScopedRecursiveLock lock(mStateMutex);
  mStillRanges.swap(ranges);
}

int32_t TetherSource::GetStillRangeAt(TickTime time, TimeRange& outRange) {
  RefreshStillRanges();
  ScopedRecursiveLock lock(mStateMutex);
  outRange = TimeRange(time, time);
  // The ranges are taken as sorted by start: the candidate is the last range
  // that starts at or before `time`.
  auto found = std::lower_bound(mStillRanges.begin(), mStillRanges.end(), TimeRange(time, TickTime(0)));
  if (found == mStillRanges.end() || found->first > time) {
    if (found == mStillRanges.begin()) return 0;
    found = std::prev(found);
  }
  if (found->first <= time && time < found->second) outRange = *found;
  return 0;
}

int32_t TetherSource::GetStillRangesInRange(TickTime start, TickTime end, std::vector<TimeRange>& inOutRanges) {
  RefreshStillRanges();
  ScopedRecursiveLock lock(mStateMutex);
  auto first = std::lower_bound(mStillRanges.begin(), mStillRanges.end(), TimeRange(start, TickTime(0)));
  // A range that starts before `start` may still reach into it.
  if (first != mStillRanges.begin()) first = std::prev(first);
  const auto last =
      std::upper_bound(mStillRanges.begin(), mStillRanges.end(), TimeRange(end + TickTime(1), TickTime(0)));
  for (auto it = first; it < last; ++it) {
    const TickTime s = std::max(start, it->first);
    const TickTime e = std::min(end, it->second);
    if (s < e) inOutRanges.emplace_back(s, e);
  }
  return 0;
}

}  // namespace TetherMedia
