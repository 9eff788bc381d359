#pragma once

#include <tether/wire/UniqueFd.h>

#include <sys/types.h>

#include <string>
#include <vector>

namespace tether::ipc {

// A server started as a child process, connected to us by a socket pair that
// it inherits as descriptor 3. No name in the file system means nobody else
// can reach it, and its end of the pair closing tells each side of the other's
// end.
struct LaunchedServer {
  pid_t pid = 0;
  wire::UniqueFd socket;
};

// The server executable to start: `configured` if set, else the
// TETHER_SERVER_EXECUTABLE variable, else tether-server beside this library or
// in ../bin from it, else the path of the build. Empty if none exists.
std::string FindServerExecutable(const std::string& configured);

// Starts `executable` with the socket. Throws std::system_error.
LaunchedServer LaunchServer(const std::string& executable, const std::vector<std::string>& arguments);

// Connects to a server listening at `path`; invalid on failure.
wire::UniqueFd ConnectToSocket(const std::string& path);

// Ends a started server: SIGKILL if `kill`, SIGTERM otherwise, and reaps it.
void EndServer(pid_t pid, bool kill);

// How a started server that has ended ended ("it exited with status 1", "it
// was killed by signal 9 (Killed)"), reaping it; empty if it still runs.
// With `grace` (its end of the socket closed: it is on its way out) it is
// given a moment to finish dying.
std::string DescribeEndedServer(pid_t pid, bool grace);

}  // namespace tether::ipc
