#include <FarsideCL/FarsideLogin.h>

#include <FarsideCL/FarsideDataServer.h>
#include <FarsideCL/FarsideServiceError.h>

#include <memory>

namespace FarsideCL {

using kilncore::utility::ImmutableString;

kilncore::classref::InterfaceRef<IFarsideCDataServer> LogIn(const std::string& address, const std::string& token,
                                                             FarsideServiceClient::Timeouts timeouts) {
  const ImmutableString bearer("Bearer");
  const FarsideServiceClient probe(address, FarsideSCredentials(ImmutableString(), ImmutableString(token), bearer),
                                   timeouts);
  const std::string account = probe.WhoAmI();
  const FarsideSCredentials credentials(ImmutableString(account), ImmutableString(token), bearer);
  auto server = std::make_shared<FarsideDataServer>();
  server->SetServerAddress(ImmutableString(address));
  server->SetCredentials(credentials);
  const FarsideServiceClient client(address, credentials, timeouts);
  // A media path that can't be looked up (the service is gone, say) is one
  // that the service doesn't know: the caller keeps the production it has.
  server->SetMediaLookup([client](const ImmutableString& mediaPath, const ImmutableString& productionPath)
                             -> std::optional<FarsideLinkedAssetProperties> {
    try {
      return client.Locate(productionPath.AsUTF8(), mediaPath.AsUTF8());
    } catch (const FarsideServiceError&) {
      return std::nullopt;
    }
  });
  IFarsideCDataServer::SetLoggedInServer(server);
  return server;
}

}  // namespace FarsideCL
