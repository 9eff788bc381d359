#pragma once

#include <atomic>
#include <cstdint>

namespace tetherserver {

// The server's view of the machine's fonts, reduced to what clients can see
// of it: a generation number that changes whenever the font set changes.
// Projects answer "runtime font change" with it, and an item's runtime
// identifier mixes it in, so a client notices the change by comparing.
//
// Change() is safe in a signal handler (a lock-free atomic), which is how the
// tether-server process simulates a change: SIGUSR1.
class FontSet {
 public:
  static constexpr uint32_t kInitialGeneration = 1;

  uint32_t Generation() const { return mGeneration.load(std::memory_order_acquire); }
  // The fonts changed: the generation moves on.
  void Change() { mGeneration.fetch_add(1, std::memory_order_acq_rel); }

 private:
  static_assert(std::atomic<uint32_t>::is_always_lock_free);
  std::atomic<uint32_t> mGeneration{kInitialGeneration};
};

}  // namespace tetherserver
