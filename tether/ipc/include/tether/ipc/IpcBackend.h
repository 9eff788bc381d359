#pragma once

#include <tether/Backend.h>
#include <tether/ServerFailure.h>
#include <tether/wire/UniqueFd.h>

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tether::ipc {

// How the IPC backend reaches its server. A host normally leaves everything at
// its default.
struct IpcBackendOptions {
  // The server started by hand to connect to. Empty: the TETHER_SERVER_SOCKET
  // environment variable, and if that is unset too, a server started on demand
  // as a child process.
  std::string socketPath;
  // The server executable to start. Empty: TETHER_SERVER_EXECUTABLE, then
  // tether-server beside this library or in ../bin from it, then the path known
  // when the library was built.
  std::string serverExecutable;
  // Further arguments for a started server.
  std::vector<std::string> serverArguments;
  // A silent server is pinged every interval and given up after the timeout.
  std::chrono::milliseconds heartbeatInterval{500};
  std::chrono::milliseconds heartbeatTimeout{3000};
  // The library's threads that run the callbacks.
  size_t callbackThreads = 4;
};

// The backend of the client library that talks to server processes over a Unix
// socket (docs/protocol.md).
//
// A connection is made on first use and shared by all objects made through it.
// When it breaks (the server exits, crashes, is killed, or stops answering the
// heartbeat), every pending callback fails at once with
// kConnectionStatusServerUnavailable, later calls on its objects fail too, and
// the next CreateTetherServer makes a fresh connection (starting a fresh
// server where the backend starts them).
class IpcBackend : public Backend, public std::enable_shared_from_this<IpcBackend> {
 public:
  // A connection to a server that broke while the backend was in use, or one
  // request that its server never received (the connection stays up).
  struct ServerLoss {
    // The server process this backend started, or 0 (a server started by
    // hand, or an in-process one).
    pid_t pid = 0;
    // What happened, in words: "the server closed the connection; it was
    // killed by signal 9 (Killed)", "the server stopped answering (...)".
    std::string reason;
    // The lost request's operation; empty when the whole server was lost.
    std::string operation;
  };
  // Called once per lost connection, and once per lost request, on a library
  // thread, after the requests concerned have failed. What a host does then is in docs/protocol.md ("When a
  // server goes"): a request the module waits on for a renderer that can no
  // longer come ends only through CancelPendingRequests.
  using ServerLossListener = std::function<void(const ServerLoss&)>;
  // Told of every request that failed for good (not of cancelled renders, nor
  // of requests that a lost connection failed): the operation, the status and
  // the server's reason, if it gave one. A host learns here, for example, that
  // no video renderer can be had, after which the module waits until
  // CancelPendingRequests.
  using RequestFailureListener = std::function<void(const ServerFailure&)>;

  // Makes a connected socket; an invalid descriptor means no server can be had.
  using Connector = std::function<wire::UniqueFd()>;

  // The product's backend: reaches or starts servers as `options` say.
  static std::shared_ptr<IpcBackend> Create(IpcBackendOptions options = {});
  // A backend whose connections `connector` makes: an in-process server over a
  // socket pair, or a test peer.
  static std::shared_ptr<IpcBackend> CreateWithConnector(Connector connector, IpcBackendOptions options = {});

  // Breaks the connection (its pending callbacks fail), ends a server it
  // started, and stops its threads.
  ~IpcBackend() override;

  void CreateMarlServer(MarlServer::CreateCallback callback, ServerConnectionType type) override;
  void CreateSprocketServer(SprocketServer::CreateCallback callback, ServerConnectionType type) override;
  void CreateTolmenServer(TolmenServer::CreateCallback callback, ServerConnectionType type) override;
  void CreateEaselServer(EaselServer::CreateCallback callback) override;
  void CreateDarkslideServer(DarkslideServer::CreateCallback callback) override;

  // Installs the listener told of every lost server from now on (replacing
  // the previous one; empty: none). Not told when the backend itself ends.
  // When it returns, no call of the previous listener is under way (unless
  // called from a listener), so the previous one may go.
  void SetServerLossListener(ServerLossListener listener);
  // Installs the listener told of failed requests (replacing the previous one;
  // empty: none). Called on a library thread, after the request's callback.
  // Waits for calls of the previous one as SetServerLossListener does.
  void SetRequestFailureListener(RequestFailureListener listener);

  // The process id of the server this backend started for its current
  // connection, or 0.
  pid_t ServerProcessId() const;
  // Whether a connection is up now.
  bool IsConnected() const;

  struct Impl;

 private:
  explicit IpcBackend(std::shared_ptr<Impl> impl);
  std::shared_ptr<Impl> mImpl;
};

// Installs an IpcBackend with default options (tether::InstallBackend), unless
// a backend is installed already. Returns the installed backend.
std::shared_ptr<Backend> InstallDefaultIpcBackend();

}  // namespace tether::ipc
