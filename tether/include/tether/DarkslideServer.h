#pragma once

#include <tether/GenericServer.h>

#include <functional>
#include <memory>

namespace tether {

// The typed server of Darkslide. It has a single connection road.
class DarkslideServer : public GenericServer {
 public:
  using CreateCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<DarkslideServer>&)>;

  // Starts a link to a Darkslide server through the installed backend. `callback` is
  // called once, later, on a thread of the library, with the status and the
  // server (null on failure). Without a backend it fails with
  // kConnectionStatusNoBackend, also later and on another thread.
  static void CreateTetherServer(CreateCallback callback);
};

}  // namespace tether
