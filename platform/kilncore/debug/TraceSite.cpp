#include <kilncore/debug/TraceSite.h>

#include <kilncore/debug/Trace.h>

namespace kilncore::debug {

bool TraceSite::Enabled() {
  // The count is read before the settings: a change that lands in between
  // leaves an old count in the cache, which only causes one more question.
  const uint64_t count = TraceChangeCount();
  const uint64_t cached = mCached.load(std::memory_order_acquire);
  if (cached >> 1 == count) return (cached & 1) != 0;
  const bool enabled = TraceEnabled(mChannel, mLevel, true);
  mCached.store(count << 1 | (enabled ? 1 : 0), std::memory_order_release);
  return enabled;
}

void TraceSite::Write(std::string_view text) {
  if (Enabled()) Trace(mLevel, mChannel, text);
}

void TraceSite::Write(WideStringView text) {
  if (Enabled()) Trace(mLevel, mChannel, text);
}

}  // namespace kilncore::debug
