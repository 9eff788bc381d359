#pragma once

#include <tether/GenericServer.h>

#include <functional>
#include <memory>

namespace tether {

class FileServer;

// The typed server of Tolmen.
class TolmenServer : public GenericServer {
 public:
  using CreateCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<TolmenServer>&)>;

  using FileServerCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<FileServer>&)>;

  // Connects the server of plain files (Final Cut Pro XML, ...). `callback` is
  // called once, later, with the status and the file server.
  virtual void CreateFileServerLink(FileServerCallback callback) = 0;

  // Starts a link to a Tolmen server through the installed backend. `callback` is
  // called once, later, on a thread of the library, with the status and the
  // server (null on failure). Without a backend it fails with
  // kConnectionStatusNoBackend, also later and on another thread.
  static void CreateTetherServer(CreateCallback callback, ServerConnectionType connectionType);
  // The same on the default road.
  static void CreateTetherServer(CreateCallback callback);
};

}  // namespace tether
