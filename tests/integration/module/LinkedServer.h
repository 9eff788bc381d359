#pragma once

#include <tether/ipc/IpcBackend.h>

#include <sys/types.h>

#include <iosfwd>
#include <memory>

namespace tetherserver {
class InProcessServer;
}

namespace TetherMedia::integration {

// The two ways a host reaches the reference server.
enum class ServerMode { kChildProcess, kInProcess };

std::ostream& operator<<(std::ostream& out, ServerMode mode);

// The real link for the length of a test: an IPC backend installed as the
// process's backend, whose server is a child process started on demand or a
// server on threads of this process. Uninstalled again on destruction, which
// also ends a started server.
class LinkedServer {
 public:
  explicit LinkedServer(ServerMode mode);
  ~LinkedServer();
  LinkedServer(const LinkedServer&) = delete;
  LinkedServer& operator=(const LinkedServer&) = delete;

  ServerMode Mode() const { return mMode; }
  // The child server of the current connection, or 0 (in-process, or before the
  // first import).
  pid_t ServerProcessId() const { return mBackend->ServerProcessId(); }

 private:
  ServerMode mMode;
  std::unique_ptr<tetherserver::InProcessServer> mInProcess;
  std::shared_ptr<tether::ipc::IpcBackend> mBackend;
};

}  // namespace TetherMedia::integration
