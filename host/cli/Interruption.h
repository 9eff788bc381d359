#pragma once

#include <stdexcept>

namespace tetherhost {

// Ctrl-C as a request to stop, as ffmpeg takes it: the first SIGINT only sets
// a flag that long loops check between steps, so that a command can end what
// it was doing and print its totals; a second SIGINT ends the process at once.
class Interruption {
 public:
  // Installs the handler; later calls do nothing more.
  static void Install();

  // True once SIGINT has arrived. Any thread.
  static bool Requested();
};

// Thrown by a command that stopped because of Ctrl-C, after it printed what it
// had done: exit status 130.
class Interrupted : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tetherhost
