#pragma once

#include <tether/GenericServer.h>

#include <kilncore/string/WideString.h>

#include <functional>
#include <memory>

namespace tether {

// The typed server of Sprocket.
class SprocketServer : public GenericServer {
 public:
  using CreateCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<SprocketServer>&)>;

  // The extension (with its dot) of Sprocket source projects.
  inline static const kilncore::WideString kSprocketSourceTypeProjectExtension{u".spkproj"};

  // Starts a link to a Sprocket server through the installed backend. `callback` is
  // called once, later, on a thread of the library, with the status and the
  // server (null on failure). Without a backend it fails with
  // kConnectionStatusNoBackend, also later and on another thread.
  static void CreateTetherServer(CreateCallback callback, ServerConnectionType connectionType);
  // The same on the default road.
  static void CreateTetherServer(CreateCallback callback);
};

}  // namespace tether
