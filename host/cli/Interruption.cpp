#include <host/cli/Interruption.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace tetherhost {
namespace {

// Set by the handler on the thread the signal lands on, read by the command's
// threads: a lock-free atomic is both safe in a handler and free of races.
std::atomic<bool> gRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

// The self-pipe: the handler writes one byte, which wakes a thread that
// blocks reading it, so a wait inside the module can be cancelled at once.
int gWake[2] = {-1, -1};

void OnInterrupt(int) {
  const int saved = errno;
  gRequested.store(true, std::memory_order_relaxed);
  if (gWake[1] >= 0) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(gWake[1], &byte, 1);
  }
  errno = saved;
}

}  // namespace

void Interruption::Install() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (pipe2(gWake, O_CLOEXEC | O_NONBLOCK) != 0) gWake[0] = gWake[1] = -1;
  });
  struct sigaction action = {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // The handler runs once: the next Ctrl-C has its default effect, so a
  // command stuck in a long wait can still be stopped.
  action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &action, nullptr);
}

int Interruption::WakeDescriptor() { return gWake[0]; }

bool Interruption::Requested() { return gRequested.load(std::memory_order_relaxed); }

}  // namespace tetherhost
