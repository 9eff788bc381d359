// Making an item from the text of a linked remote asset, through the data
// server that the user is logged in to.

#include <mediainfo/TetherMediaInfo.h>

#include <FarsideCL/FarsideLinkedAsset.h>
#include <FarsideCL/FarsideSCredentials.h>
#include <FarsideCL/IFarsideCMediaLocator.h>
#include <KL/FarsideAvailability.h>

namespace TetherMedia {

using kilncore::utility::ImmutableString;

void TetherMediaInfo::FillFromDataServer(tether::FarsideAssetRequestInfo& request,
                                         const FarsideCL::IFarsideCDataServer& dataServer) {
  request.serverAddress = dataServer.GetServerAddress().AsUTF8();
  const FarsideCL::FarsideSCredentials credentials = dataServer.GetCredentials();
  request.credentialA = credentials.GetAccount().AsUTF8();
  request.credentialB = credentials.GetSecret().AsUTF8();
  request.authTokenType = credentials.GetAuthTokenType().AsUTF8();
  std::map<std::string, std::string> properties;
  for (const auto& [key, value] : dataServer.GetServerProperties()) {
    properties.emplace(key.AsUTF8(), value.AsUTF8());
  }
  request.serverProperties.swap(properties);
}

int32_t TetherMediaInfo::Create(ItemRef& out, const ImmutableString& productionPath,
                                const ImmutableString& linkedAssetText,
                                tether::FarsideAssetServerType serverType, RL::BinaryData& prefs) {
  if (!KL::IsFarsideClientAvailable()) return kNotOffered;
  if (linkedAssetText.empty()) return kGeneralFailure;
  const FarsideCL::FarsideLinkedAsset linked =
      FarsideCL::FarsideLinkedAsset::CreateFromString(linkedAssetText.AsUTF8());
  if (!linked.IsValid()) return kGeneralFailure;
  const auto dataServer = FarsideCL::IFarsideCDataServer::GetLoggedInServerRef();
  if (!dataServer) return kGeneralFailure;

  ImmutableString production = linked.GetProduction();
  if (!productionPath.empty()) {
    // The production may have moved since the link was made; the data server
    // knows where its media sits now.
    if (const auto locator = dataServer->GetMediaLocator(linked.GetMediaPath(), productionPath)) {
      if (const auto properties = locator->GetLinkedAssetProperties()) {
        production = properties->production;
      }
    }
  }
  tether::FarsideAssetRequestInfo request;
  request.production = production.AsUTF8();
  request.version = linked.GetVersion().AsUTF8();
  request.asset = linked.GetAsset().AsUTF8();
  FillFromDataServer(request, *dataServer);
  return Create(out, request, serverType, prefs, boost::optional<ImmutableString>(linkedAssetText));
}

}  // namespace TetherMedia
