#include <FarsideCL/AssetName.h>

#include <FarsideCL/JSONTextFields.h>

#include <kilncore/serialization/JSONParse.h>
#include <kilncore/string/UTFConversion.h>

#include <utility>

namespace FarsideCL {
namespace {

using kilncore::utility::ImmutableString;

AssetName FromParsed(const kilncore::serialization::JSONValuePtr& root) {
  const auto* object = detail::ParseObject(root);
  if (object == nullptr) return AssetName();
  auto production = detail::FindString(*object, "production");
  auto version = detail::FindString(*object, "version");
  auto asset = detail::FindString(*object, "asset");
  if (!production || !version || !asset) return AssetName();
  return AssetName(ImmutableString(*production), ImmutableString(*version), ImmutableString(*asset));
}

// A path never starts with '{', so most non-names are refused before parsing.
bool MayBeObject(kilncore::WideStringView text) {
  const auto first = text.find_first_not_of(u" \t\r\n");
  return first != kilncore::WideStringView::npos && text[first] == u'{';
}

bool MayBeObject(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && text[first] == '{';
}

}  // namespace

AssetName::AssetName(ImmutableString production, ImmutableString version, ImmutableString asset)
    : mProduction(std::move(production)), mVersion(std::move(version)), mAsset(std::move(asset)) {}

AssetName AssetName::CreateFromString(kilncore::WideStringView text) {
  if (!MayBeObject(text)) return AssetName();
  return FromParsed(kilncore::serialization::JSONParse(text));
}

AssetName AssetName::CreateFromString(std::string_view utf8) {
  if (!MayBeObject(utf8)) return AssetName();
  return FromParsed(kilncore::serialization::JSONParse(utf8));
}

std::string AssetName::ToJSONString() const {
  return detail::WriteOrderedObject(
      {{"production", mProduction.view()}, {"version", mVersion.view()}, {"asset", mAsset.view()}});
}

kilncore::WideString AssetName::ToJSONWideString() const {
  return kilncore::string::UTF8to16(ToJSONString());
}

}  // namespace FarsideCL
