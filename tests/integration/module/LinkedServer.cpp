#include "LinkedServer.h"

#include <ServerProcessInProcess.h>

#include <tether/Backend.h>

#include <chrono>
#include <ostream>

namespace TetherMedia::integration {
namespace {

// A killed child must be noticed by the broken socket, not by the heartbeat;
// a short heartbeat would only hide a slow detection.
tether::ipc::IpcBackendOptions ChildProcessOptions() {
  tether::ipc::IpcBackendOptions options;
  options.serverExecutable = TETHER_TEST_SERVER_EXECUTABLE;
  return options;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, ServerMode mode) {
  return out << (mode == ServerMode::kChildProcess ? "ChildProcess" : "InProcess");
}

LinkedServer::LinkedServer(ServerMode mode) : mMode(mode) {
  if (mode == ServerMode::kInProcess) {
    mInProcess = std::make_unique<tetherserver::InProcessServer>();
    tetherserver::InProcessServer* server = mInProcess.get();
    mBackend = tether::ipc::IpcBackend::CreateWithConnector([server] { return server->Connect(); });
  } else {
    mBackend = tether::ipc::IpcBackend::Create(ChildProcessOptions());
  }
  tether::InstallBackend(mBackend);
}

LinkedServer::~LinkedServer() {
  tether::InstallBackend(nullptr);
  // The backend's threads may still call into the in-process server, so the
  // backend goes first.
  mBackend.reset();
  mInProcess.reset();
}

}  // namespace TetherMedia::integration
