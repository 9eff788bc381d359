#include <tether/EaselServer.h>

#include <tether/Backend.h>
#include <tether/DeferredDelivery.h>

namespace tether {

void EaselServer::CreateTetherServer(CreateCallback callback) {
  if (!callback) {
    return;
  }
  if (auto backend = GetBackend()) {
    backend->CreateEaselServer(std::move(callback));
    return;
  }
  DeliverLater([callback = std::move(callback)] { callback(kConnectionStatusNoBackend, nullptr); });
}

}  // namespace tether
