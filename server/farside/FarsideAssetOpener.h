#pragma once

#include <server/farside/FarsideAssetCache.h>

#include <tether/FarsideAssetRequestInfo.h>

#include <memory>

namespace tetherserver {

class OwnerHandler;
class SessionItem;

// The road of a remote asset on the Farside service: asks the service at the
// request's address, with the request's credentials, what the asset is; makes
// sure that the application asked for opens its family ("marl": Marl,
// "host-project": Tolmen); takes the asset's project file from the cache,
// fetching it first if needed; opens it with the owner's handler, and gives
// the item that the asset names (the first one when it names none).
//
// Every failure sets the server's FailureReason, with the service's own reason
// where the service gave one, and a status: 3 when the service can't be
// reached, 4 when the asset names nothing, 5 for a family that the
// application doesn't open, 1 otherwise (a refused token, a broken answer).
class FarsideAssetOpener {
 public:
  explicit FarsideAssetOpener(FarsideAssetCache cache);

  // Whether `request` names an asset of a service. A production that is the
  // path of a file on this machine isn't: the handlers open such a request
  // directly, as a stand-in for a service (see OwnerHandler).
  static bool NamesServiceAsset(const tether::FarsideAssetRequestInfo& request);

  std::shared_ptr<const SessionItem> Open(const OwnerHandler& handler, const tether::FarsideAssetRequestInfo& request,
                                          int32_t& status) const;

 private:
  FarsideAssetCache mCache;
};

}  // namespace tetherserver
