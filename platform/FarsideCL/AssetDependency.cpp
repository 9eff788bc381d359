#include <FarsideCL/AssetDependency.h>

namespace FarsideCL {

bool IsAssetDependendedUpon(const kilncore::classref::InterfaceRef<KL::IProject>& project,
                            const kilncore::utility::ImmutableString& /*production*/,
                            const kilncore::utility::ImmutableString& /*other*/,
                            const kilncore::utility::ImmutableString& itemAsset,
                            const std::set<kilncore::utility::ImmutableString>& assets) {
  if (!project) return false;
  return assets.count(itemAsset) != 0;
}

}  // namespace FarsideCL
