#include <host/cli/Interruption.h>

#include <atomic>
#include <csignal>

namespace tetherhost {
namespace {

// Set by the handler on the thread the signal lands on, read by the command's
// threads: a lock-free atomic is both safe in a handler and free of races.
std::atomic<bool> gRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnInterrupt(int) { gRequested.store(true, std::memory_order_relaxed); }

}  // namespace

void Interruption::Install() {
  struct sigaction action = {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // The handler runs once: the next Ctrl-C has its default effect, so a
  // command stuck in a long wait can still be stopped.
  action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &action, nullptr);
}

bool Interruption::Requested() { return gRequested.load(std::memory_order_relaxed); }

}  // namespace tetherhost
