#pragma once

#include <tether/ConnectionStatus.h>
#include <tether/ServerConnectionType.h>

#include <functional>
#include <memory>

namespace tether {

class Server;

// The base of the typed servers: a link to one application's server process,
// from which the generic Server (projects, assets) is reached.
class GenericServer {
 public:
  using LinkedServerCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<Server>&)>;

  virtual ~GenericServer() = default;

  // Connects the generic server. `callback` is called once, later, on a thread
  // of the library, with the status and the server (null on failure).
  virtual void ConnectLinkedServer(LinkedServerCallback callback, ServerConnectionType type) = 0;
  // The same, with the connection road the typed server was made with.
  virtual void ConnectLinkedServer(LinkedServerCallback callback) = 0;
};

}  // namespace tether
