#include <host/cli/Interruption.h>

#include <csignal>

namespace tetherhost {
namespace {

volatile std::sig_atomic_t gRequested = 0;

void OnInterrupt(int) { gRequested = 1; }

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

bool Interruption::Requested() { return gRequested != 0; }

void Interruption::RequestForTesting(bool requested) { gRequested = requested ? 1 : 0; }

}  // namespace tetherhost
