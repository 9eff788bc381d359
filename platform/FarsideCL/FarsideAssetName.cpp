#include <FarsideCL/FarsideAssetName.h>

#include <kilncore/serialization/JSONParse.h>
#include <kilncore/serialization/JSONTypes.h>

#include <any>
#include <string>
#include <string_view>

namespace FarsideCL {
namespace {

using kilncore::serialization::JSONObject;
using kilncore::serialization::JSONValuePtr;

// The text of member `key` of `object`, or null if it is missing or not a string.
const std::string* FindString(const JSONObject& object, std::string_view key) {
  const auto found = object.find(std::string(key));
  if (found == object.end() || !found->second) return nullptr;
  return std::any_cast<std::string>(found->second.get());
}

}  // namespace

bool IsFarsideAssetName(kilncore::WideStringView name) {
  // Cheap refusal of ordinary paths before any parsing.
  const auto first = name.find_first_not_of(u" \t\r\n");
  if (first == kilncore::WideStringView::npos || name[first] != u'{') return false;

  const JSONValuePtr root = kilncore::serialization::JSONParse(name);
  if (!root) return false;
  const auto* object = std::any_cast<JSONObject>(root.get());
  if (object == nullptr) return false;

  const std::string* production = FindString(*object, "production");
  const std::string* version = FindString(*object, "version");
  const std::string* asset = FindString(*object, "asset");
  return production != nullptr && version != nullptr && asset != nullptr &&
         !production->empty() && !asset->empty();
}

}  // namespace FarsideCL
