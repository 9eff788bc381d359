#pragma once

#include <stdexcept>

namespace tetherhost {

// Ctrl-C as a request to stop, as ffmpeg takes it: the first SIGINT only sets
// a flag that long loops check between steps, so that a command can end what
// it was doing and print its totals, and wakes a thread of the session that
// cancels what the module waits for (ServerLossWatch); a second SIGINT ends
// the process at once.
class Interruption {
 public:
  // Installs the handler; later calls do nothing more.
  static void Install();

  // True once SIGINT has arrived. Any thread.
  static bool Requested();

  // A descriptor that becomes readable when SIGINT arrives, for a thread that
  // must react at once (poll it; don't read it); -1 before Install.
  static int WakeDescriptor();
};

// Thrown by a command that stopped because of Ctrl-C, after it printed what it
// had done: exit status 130.
class Interrupted : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tetherhost
