#include <TetherMedia/FarsideAssets.h>

#include <mediainfo/TetherMediaInfo.h>

namespace TetherMedia {

int OpenFarsideAsset(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result, RL::BinaryData& prefs,
                     const tether::FarsideAssetRequestInfo& request,
                     tether::FarsideAssetServerType serverType,
                     const boost::optional<kilncore::utility::ImmutableString>& linkedAssetText) {
  kilncore::classref::InterfaceRef<TetherMediaInfo> item;
  const int code = TetherMediaInfo::Create(item, request, serverType, prefs, linkedAssetText);
  if (code >= 0) result = item;
  return code;
}

int OpenFarsideLinkedAsset(const kilncore::utility::ImmutableString& productionPath,
                           const kilncore::utility::ImmutableString& linkedAssetText,
                           kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                           RL::BinaryData& prefs, tether::FarsideAssetServerType serverType) {
  kilncore::classref::InterfaceRef<TetherMediaInfo> item;
  const int code = TetherMediaInfo::Create(item, productionPath, linkedAssetText, serverType, prefs);
  if (code >= 0) result = item;
  return code;
}

}  // namespace TetherMedia
