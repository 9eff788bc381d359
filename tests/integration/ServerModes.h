#pragma once

#include <ServerProcessInProcess.h>
#include <tether/ipc/IpcBackend.h>

#include <memory>

namespace tether::ipctest {

// Where a suite's reference server runs: on threads of the test process (the
// sanitizers see both sides) or as the child process a host would start.
enum class Mode { kInProcess, kChildProcess };

// A backend that reaches `server` in process, or starts the server executable.
inline std::shared_ptr<ipc::IpcBackend> MakeBackendFor(Mode mode, tetherserver::InProcessServer& server) {
  if (mode == Mode::kInProcess) {
    return ipc::IpcBackend::CreateWithConnector([&server] { return server.Connect(); });
  }
  ipc::IpcBackendOptions options;
  options.serverExecutable = TETHER_TEST_SERVER_EXECUTABLE;
  return ipc::IpcBackend::Create(options);
}

}  // namespace tether::ipctest
