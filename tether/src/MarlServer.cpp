#include <tether/MarlServer.h>

#include <tether/Backend.h>
#include <tether/DeferredDelivery.h>

namespace tether {

void MarlServer::CreateTetherServer(CreateCallback callback, ServerConnectionType connectionType) {
  if (!callback) {
    return;
  }
  if (auto backend = GetBackend()) {
    backend->CreateMarlServer(std::move(callback), connectionType);
    return;
  }
  DeliverLater([callback = std::move(callback)] { callback(kConnectionStatusNoBackend, nullptr); });
}

void MarlServer::CreateTetherServer(CreateCallback callback) {
  CreateTetherServer(std::move(callback), kServerConnectionTypeDefault);
}

}  // namespace tether
