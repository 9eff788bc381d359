#pragma once

#include "Session.h"

#include <string>
#include <vector>

namespace tetherserver {

// The tether-server process: how it is started and what it serves.
//
//   tether-server --fd N         serve the one connection on inherited socket N
//                                and exit when it closes (how the client
//                                library starts its server)
//   tether-server --listen [P]   listen at socket path P (default: a private
//                                runtime folder, printed on stdout), one
//                                session per client, until killed
//   --cold-buffers               a fresh shared buffer for every frame
//   --workers N                  worker threads per session
//
// SIGUSR1 simulates a change of the machine's fonts (FontSet::Change).
class ServerProcess {
 public:
  // Parses `arguments` (without the program name). Throws
  // std::invalid_argument for arguments it doesn't know.
  explicit ServerProcess(const std::vector<std::string>& arguments);

  // Runs the server; returns the process's exit code.
  int Run();

  // A private runtime folder (mode 0700) for this user's sockets:
  // $XDG_RUNTIME_DIR/tether, else /tmp/tether-<uid>. Throws std::system_error
  // if it can't be made or is not this user's alone.
  static std::string PrivateRuntimeFolder();

 private:
  int ServeDescriptor();
  int Listen();

  int mFd = -1;
  bool mListen = false;
  std::string mSocketPath;
  Session::Options mOptions;
};

}  // namespace tetherserver
