#pragma once

#include <tether/GenericServer.h>

#include <functional>
#include <memory>

namespace tether {

class FileServer;

// The typed server of Easel. It has a single connection road.
class EaselServer : public GenericServer {
 public:
  using CreateCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<EaselServer>&)>;

  using FileServerCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<FileServer>&)>;

  // Connects the server of Easel documents. `callback` is called once, later,
  // with the status and the file server.
  virtual void ConnectFileServer(FileServerCallback callback) = 0;

  // Starts a link to a Easel server through the installed backend. `callback` is
  // called once, later, on a thread of the library, with the status and the
  // server (null on failure). Without a backend it fails with
  // kConnectionStatusNoBackend, also later and on another thread.
  static void CreateTetherServer(CreateCallback callback);
};

}  // namespace tether
