#include <FarsideCL/FarsideAssetName.h>

#include <FarsideCL/AssetName.h>

namespace FarsideCL {

bool IsFarsideAssetName(kilncore::WideStringView name) {
  return AssetName::CreateFromString(name).IsValid();
}

}  // namespace FarsideCL
