#pragma once

#include "Session.h"

#include <chrono>
#include <string>

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
//   --verbose                    log every failed request with its reason
//
// SIGUSR1 simulates a change of the machine's fonts (FontSet::Change).
// SIGTERM, SIGINT and SIGHUP end a listening server and remove its socket.
class ServerProcess {
 public:
  struct Settings {
    // The inherited socket to serve, or -1.
    int fd = -1;
    bool listen = false;
    // Where to listen; empty: the private runtime folder.
    std::string socketPath;
    bool verbose = false;
    // Connections a listening server serves at once; more are refused.
    size_t maxConnections = 64;
    // A connection that sends nothing for this long is dropped.
    std::chrono::milliseconds idleTimeout{30000};
    Session::Options session;
  };

  // Throws std::invalid_argument for settings that can't work together.
  explicit ServerProcess(Settings settings);

  // Runs the server; returns the process's exit code. Throws
  // std::system_error when the socket can't be served.
  int Run();

  // A private runtime folder (mode 0700) for this user's sockets:
  // $XDG_RUNTIME_DIR/tether, else /tmp/tether-<uid>. Throws std::system_error
  // if it can't be made or is not this user's alone.
  static std::string PrivateRuntimeFolder();

 private:
  int ServeDescriptor();
  int Listen();

  Settings mSettings;
};

}  // namespace tetherserver
