#include <FarsideCL/FarsideLinkedAsset.h>

#include <FarsideCL/JSONTextFields.h>

#include <kilncore/serialization/JSONParse.h>

#include <utility>

namespace FarsideCL {

using kilncore::utility::ImmutableString;

FarsideLinkedAsset::FarsideLinkedAsset(ImmutableString production, ImmutableString mediaPath,
                                       ImmutableString version, ImmutableString asset)
    : mProduction(std::move(production)),
      mMediaPath(std::move(mediaPath)),
      mVersion(std::move(version)),
      mAsset(std::move(asset)) {}

FarsideLinkedAsset FarsideLinkedAsset::CreateFromString(std::string_view utf8) {
  const auto root = kilncore::serialization::JSONParse(utf8);
  const auto* object = detail::ParseObject(root);
  if (object == nullptr) return FarsideLinkedAsset();
  auto production = detail::FindString(*object, "production");
  auto version = detail::FindString(*object, "version");
  auto asset = detail::FindString(*object, "asset");
  if (!production || !version || !asset) return FarsideLinkedAsset();
  // A link made before media paths existed has none; the locator is then
  // asked with an empty one.
  auto mediaPath = detail::FindString(*object, "mediaPath").value_or(std::string());
  return FarsideLinkedAsset(ImmutableString(*production), ImmutableString(mediaPath),
                            ImmutableString(*version), ImmutableString(*asset));
}

std::string FarsideLinkedAsset::ToString() const {
  return detail::WriteOrderedObject({{"production", mProduction.view()},
                                     {"mediaPath", mMediaPath.view()},
                                     {"version", mVersion.view()},
                                     {"asset", mAsset.view()}});
}

}  // namespace FarsideCL
