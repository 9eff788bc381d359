#pragma once

#include <atomic>
#include <cstdint>

namespace tetherserver {

// A simulated font generation, for content that draws no text of its own and
// so doesn't answer from the machine's fonts (the synthetic project, and host
// projects' font value). Project files of the Marl family answer from the
// real fonts instead (server/render/FontCatalog). Such projects answer
// "runtime font change" with this number, and their items' runtime
// identifiers mix it in, so tests of the link can still make a font change
// happen on demand.
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
