#include <tether/TolmenServer.h>

#include <tether/Backend.h>
#include <tether/DeferredDelivery.h>

namespace tether {

void TolmenServer::CreateTetherServer(CreateCallback callback, ServerConnectionType connectionType) {
  if (!callback) {
    return;
  }
  if (auto backend = GetBackend()) {
    backend->CreateTolmenServer(std::move(callback), connectionType);
    return;
  }
  DeliverLater([callback = std::move(callback)] { callback(kConnectionStatusNoBackend, nullptr); });
}

void TolmenServer::CreateTetherServer(CreateCallback callback) {
  CreateTetherServer(std::move(callback), kServerConnectionTypeDefault);
}

}  // namespace tether
