#include <tether/ipc/IpcBackend.h>

#include "CallbackExecutor.h"
#include "Connection.h"
#include "IpcTypedServers.h"
#include "ServerLauncher.h"

#include <tether/wire/Protocol.h>

#include <kilncore/logging/Log.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>

namespace tether::ipc {
namespace {

// A spawned server under a sanitizer may need a while before its first answer.
constexpr std::chrono::milliseconds kMinimumHandshakeWait{10000};

}  // namespace

struct IpcBackend::Impl : std::enable_shared_from_this<Impl> {
  IpcBackendOptions options;
  Connector connector;
  std::shared_ptr<CallbackExecutor> executor;

  mutable std::mutex mutex;
  std::shared_ptr<Connection> connection;
  pid_t pid = 0;
  bool shutDown = false;
  ServerLossListener lossListener;
  RequestFailureListener failureListener;
  // Listener calls under way, so that replacing a listener can wait for them.
  int listenerCalls = 0;
  std::condition_variable listenersIdle;

  // The connection, made now if there is none or it broke. Null if no server
  // can be reached. Serialised, so that one server is started, not several.
  std::shared_ptr<Connection> EnsureConnection();
  wire::UniqueFd Connect(pid_t& started);
  void ServerGone(pid_t started, const std::string& reason);
  // Calls `tell` with the listeners installed now, unless the backend is
  // ending; counted, so that a setter can wait until the call is over.
  void CallListeners(const std::function<void(const ServerLossListener&, const RequestFailureListener&)>& tell);
  // After this, no call of a replaced listener runs (unless it is the caller).
  void WaitForListenerCalls(std::unique_lock<std::mutex>& lock);
  void RequestFailed(pid_t started, const ServerFailure& failure);
  void Shutdown();

  template <class Typed, class Callback>
  void CreateTyped(const char* application, Callback callback, ServerConnectionType type);
};

std::shared_ptr<Connection> IpcBackend::Impl::EnsureConnection() {
  pid_t stale = 0;
  std::shared_ptr<Connection> fresh;
  {
    std::lock_guard lock(mutex);
    if (shutDown) {
      return nullptr;
    }
    if (connection && !connection->IsBroken()) {
      return connection;
    }
    stale = std::exchange(pid, 0);
  }
  EndServer(stale, true);

  std::lock_guard lock(mutex);
  if (connection && !connection->IsBroken()) {
    return connection;  // another thread was faster
  }
  pid_t started = 0;
  wire::UniqueFd socket;
  try {
    socket = Connect(started);
  } catch (...) {
    kilncore::logging::LogException(std::current_exception(), "tether::ipc::IpcBackend connect");
  }
  if (!socket.IsValid()) {
    EndServer(started, true);
    return nullptr;
  }
  std::weak_ptr<Impl> weak = weak_from_this();
  Connection::Options connectionOptions{options.heartbeatInterval, options.heartbeatTimeout};
  // Only a connection that came up can be lost; one that fails its
  // handshake fails the creation that wanted it, and that is all.
  auto established = std::make_shared<std::atomic<bool>>(false);
  fresh = Connection::Start(std::move(socket), executor, connectionOptions,
                            [weak, started, established](const std::string& why) {
                              if (auto self = weak.lock(); self && established->load()) {
                                self->ServerGone(started, why);
                              }
                            });
  fresh->OnRequestFailed([weak, started](const ServerFailure& failure) {
    if (auto self = weak.lock()) {
      self->RequestFailed(started, failure);
    }
  });
  if (!fresh->Handshake(std::max(options.heartbeatTimeout, kMinimumHandshakeWait))) {
    fresh->Close();
    EndServer(started, true);
    return nullptr;
  }
  established->store(true);
  connection = fresh;
  pid = started;
  return fresh;
}

wire::UniqueFd IpcBackend::Impl::Connect(pid_t& started) {
  if (connector) {
    return connector();
  }
  std::string path = options.socketPath;
  if (path.empty()) {
    if (const char* fromEnvironment = std::getenv("TETHER_SERVER_SOCKET")) {
      path = fromEnvironment;
    }
  }
  if (!path.empty()) {
    return ConnectToSocket(path);
  }
  std::string executable = FindServerExecutable(options.serverExecutable);
  if (executable.empty()) {
    throw std::runtime_error("no tether-server executable found");
  }
  LaunchedServer server = LaunchServer(executable, options.serverArguments);
  started = server.pid;
  return std::move(server.socket);
}

// A broken connection's server is of no more use; a stuck one is killed, so
// that it doesn't linger beside the fresh one. Whoever installed a listener
// hears of it, unless the backend is ending.
void IpcBackend::Impl::ServerGone(pid_t started, const std::string& reason) {
  bool ours = false;
  {
    std::lock_guard lock(mutex);
    if (shutDown) {
      return;
    }
    ours = started != 0 && pid == started;
    if (ours) {
      pid = 0;
    }
  }
  ServerLoss loss{started, reason, {}};
  if (ours) {
    // A stuck server is ended at once; one that closed its end is dying.
    std::string ended = DescribeEndedServer(started, reason.rfind(kClosedByServer, 0) == 0);
    if (!ended.empty()) {
      loss.reason += "; " + ended;
    }
    EndServer(started, true);
  }
  CallListeners([&](const ServerLossListener& onLoss, const RequestFailureListener&) {
    if (onLoss) {
      onLoss(loss);
    }
  });
}

void IpcBackend::Impl::RequestFailed(pid_t started, const ServerFailure& failure) {
  CallListeners([&](const ServerLossListener& onLoss, const RequestFailureListener& onFailure) {
    if (onFailure) {
      onFailure(failure);
    }
    // A lost request is lost to its server: nobody will ever answer it.
    if (onLoss && failure.status == wire::kStatusRequestLost) {
      const std::string& op = failure.operation;
      onLoss(ServerLoss{started, "the server never received a \"" + op + "\" request (lost on the way)", op});
    }
  });
}

void IpcBackend::Impl::CallListeners(
    const std::function<void(const ServerLossListener&, const RequestFailureListener&)>& tell) {
  ServerLossListener onLoss;
  RequestFailureListener onFailure;
  {
    std::lock_guard lock(mutex);
    if (shutDown) {
      return;
    }
    onLoss = lossListener;
    onFailure = failureListener;
    ++listenerCalls;
  }
  try {
    tell(onLoss, onFailure);
  } catch (...) {
    kilncore::logging::LogException(std::current_exception(), "tether::ipc::IpcBackend listener");
  }
  {
    std::lock_guard lock(mutex);
    --listenerCalls;
  }
  listenersIdle.notify_all();
}

void IpcBackend::Impl::WaitForListenerCalls(std::unique_lock<std::mutex>& lock) {
  if (!executor->IsExecutorThread()) {
    listenersIdle.wait(lock, [this] { return listenerCalls == 0; });
  }
}

void IpcBackend::Impl::Shutdown() {
  std::shared_ptr<Connection> last;
  pid_t started = 0;
  {
    std::lock_guard lock(mutex);
    shutDown = true;
    last = std::move(connection);
    started = std::exchange(pid, 0);
  }
  if (last) {
    last->Close();
  }
  EndServer(started, false);
}

template <class Typed, class Callback>
void IpcBackend::Impl::CreateTyped(const char* application, Callback callback, ServerConnectionType type) {
  std::string name = application;
  executor->Post([self = shared_from_this(), name, callback = std::move(callback), type] {
    auto connection = self->EnsureConnection();
    if (!connection) {
      callback(kConnectionStatusServerUnavailable, nullptr);
      return;
    }
    connection->Call(
        "server.create",
        MakeAny(AnyObject{{"application", MakeAny(name)}, {"connectionType", MakeAny(static_cast<uint32_t>(type))}}),
        [callback, connection, type](Reply& reply) -> Connection::Completion {
          auto server = std::make_shared<Typed>(connection, HandleOf(reply), type);
          return [callback, server] { callback(kConnectionStatusOK, server); };
        },
        [callback](int32_t status) -> Connection::Completion {
          return [callback, status] { callback(static_cast<ConnectionStatus>(status), nullptr); };
        });
  });
}

std::shared_ptr<IpcBackend> IpcBackend::Create(IpcBackendOptions options) {
  return CreateWithConnector(nullptr, std::move(options));
}

std::shared_ptr<IpcBackend> IpcBackend::CreateWithConnector(Connector connector, IpcBackendOptions options) {
  auto impl = std::make_shared<Impl>();
  impl->executor = std::make_shared<CallbackExecutor>(options.callbackThreads);
  impl->options = std::move(options);
  impl->connector = std::move(connector);
  return std::shared_ptr<IpcBackend>(new IpcBackend(std::move(impl)));
}

IpcBackend::IpcBackend(std::shared_ptr<Impl> impl) : mImpl(std::move(impl)) {}

IpcBackend::~IpcBackend() { mImpl->Shutdown(); }

void IpcBackend::CreateMarlServer(MarlServer::CreateCallback callback, ServerConnectionType type) {
  mImpl->CreateTyped<IpcMarlServer>("Marl", std::move(callback), type);
}

void IpcBackend::CreateSprocketServer(SprocketServer::CreateCallback callback, ServerConnectionType type) {
  mImpl->CreateTyped<IpcSprocketServer>("Sprocket", std::move(callback), type);
}

void IpcBackend::CreateTolmenServer(TolmenServer::CreateCallback callback, ServerConnectionType type) {
  mImpl->CreateTyped<IpcTolmenServer>("Tolmen", std::move(callback), type);
}

void IpcBackend::CreateEaselServer(EaselServer::CreateCallback callback) {
  mImpl->CreateTyped<IpcEaselServer>("Easel", std::move(callback), kServerConnectionTypeDefault);
}

void IpcBackend::CreateDarkslideServer(DarkslideServer::CreateCallback callback) {
  mImpl->CreateTyped<IpcDarkslideServer>("Darkslide", std::move(callback), kServerConnectionTypeDefault);
}

void IpcBackend::SetServerLossListener(ServerLossListener listener) {
  std::unique_lock lock(mImpl->mutex);
  mImpl->lossListener = std::move(listener);
  mImpl->WaitForListenerCalls(lock);
}

void IpcBackend::SetRequestFailureListener(RequestFailureListener listener) {
  std::unique_lock lock(mImpl->mutex);
  mImpl->failureListener = std::move(listener);
  mImpl->WaitForListenerCalls(lock);
}

pid_t IpcBackend::ServerProcessId() const {
  std::lock_guard lock(mImpl->mutex);
  return mImpl->pid;
}

bool IpcBackend::IsConnected() const {
  std::lock_guard lock(mImpl->mutex);
  return mImpl->connection && !mImpl->connection->IsBroken();
}

std::shared_ptr<Backend> InstallDefaultIpcBackend() {
  static std::mutex mutex;
  std::lock_guard lock(mutex);
  if (auto installed = GetBackend()) {
    return installed;
  }
  std::shared_ptr<Backend> backend = IpcBackend::Create();
  InstallBackend(backend);
  return backend;
}

}  // namespace tether::ipc
