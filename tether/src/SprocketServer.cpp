#include <tether/SprocketServer.h>

#include <tether/Backend.h>
#include <tether/DeferredDelivery.h>

namespace tether {

void SprocketServer::CreateTetherServer(CreateCallback callback, ServerConnectionType connectionType) {
  if (!callback) {
    return;
  }
  if (auto backend = GetBackend()) {
    backend->CreateSprocketServer(std::move(callback), connectionType);
    return;
  }
  DeliverLater([callback = std::move(callback)] { callback(kConnectionStatusNoBackend, nullptr); });
}

void SprocketServer::CreateTetherServer(CreateCallback callback) {
  CreateTetherServer(std::move(callback), kServerConnectionTypeDefault);
}

}  // namespace tether
