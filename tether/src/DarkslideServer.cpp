#include <tether/DarkslideServer.h>

#include <tether/Backend.h>
#include <tether/DeferredDelivery.h>

namespace tether {

void DarkslideServer::CreateTetherServer(CreateCallback callback) {
  if (!callback) {
    return;
  }
  if (auto backend = GetBackend()) {
    backend->CreateDarkslideServer(std::move(callback));
    return;
  }
  DeliverLater([callback = std::move(callback)] { callback(kConnectionStatusNoBackend, nullptr); });
}

}  // namespace tether
