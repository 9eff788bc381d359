#include <FarsideCL/AssetDependencies.h>

#include <FarsideCL/AssetName.h>
#include <FarsideCL/FarsideLinkedAsset.h>
#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/FarsideServiceError.h>
#include <FarsideCL/IFarsideCDataServer.h>

#include <deque>

namespace FarsideCL {

using kilncore::utility::ImmutableString;

namespace {

struct AssetKey {
  std::string production;
  std::string version;
  std::string asset;
};

AssetKey KeyOf(const ImmutableString& production, const ImmutableString& itemAsset) {
  if (const AssetName name = AssetName::CreateFromString(itemAsset.view()); name.IsValid()) {
    return {name.GetProduction().AsUTF8(), name.GetVersion().AsUTF8(), name.GetAsset().AsUTF8()};
  }
  if (const FarsideLinkedAsset link = FarsideLinkedAsset::CreateFromString(itemAsset.view()); link.IsValid()) {
    return {link.GetProduction().AsUTF8(), link.GetVersion().AsUTF8(), link.GetAsset().AsUTF8()};
  }
  return {production.AsUTF8(), std::string(), itemAsset.AsUTF8()};
}

}  // namespace

bool IsAssetDependendedUpon(const kilncore::classref::InterfaceRef<KL::IProject>& /*project*/,
                            const ImmutableString& production, const ImmutableString& /*other*/,
                            const ImmutableString& itemAsset, const std::set<ImmutableString>& assets) {
  if (itemAsset.empty()) return false;
  const AssetKey start = KeyOf(production, itemAsset);
  if (assets.count(itemAsset) != 0 || assets.count(ImmutableString(start.asset)) != 0) return true;
  const auto server = IFarsideCDataServer::GetLoggedInServerRef();
  if (!server) return false;
  const FarsideServiceClient client = FarsideServiceClient::For(*server);
  // Breadth first through the "dependsOn" lists of one version; each asset is
  // asked for once, so a circle among the assets ends.
  std::set<std::string> seen{start.asset};
  std::deque<std::string> pending{start.asset};
  try {
    while (!pending.empty()) {
      const std::string asset = pending.front();
      pending.pop_front();
      if (assets.count(ImmutableString(asset)) != 0) return true;
      for (const std::string& next : client.GetAsset(start.production, start.version, asset).dependsOn) {
        if (seen.insert(next).second) pending.push_back(next);
      }
    }
  } catch (const FarsideServiceError&) {
    return false;
  }
  return false;
}

}  // namespace FarsideCL
