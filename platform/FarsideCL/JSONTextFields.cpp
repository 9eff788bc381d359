#include <FarsideCL/JSONTextFields.h>

#include <kilncore/serialization/JSONString.h>

#include <any>

namespace FarsideCL::detail {

using kilncore::serialization::JSONObject;

const JSONObject* ParseObject(const kilncore::serialization::JSONValuePtr& root) {
  if (!root) return nullptr;
  return std::any_cast<JSONObject>(root.get());
}

std::optional<std::string> FindString(const JSONObject& object, std::string_view key) {
  const auto found = object.find(std::string(key));
  if (found == object.end() || !found->second) return std::nullopt;
  const auto* text = std::any_cast<std::string>(found->second.get());
  if (text == nullptr) return std::nullopt;
  return *text;
}

std::string WriteOrderedObject(const std::vector<std::pair<std::string_view, std::string_view>>& members) {
  std::string text = "{";
  for (const auto& [key, value] : members) {
    if (text.size() > 1) text += ',';
    text += kilncore::serialization::GetJSONString(std::any(std::string(key)));
    text += ':';
    text += kilncore::serialization::GetJSONString(std::any(std::string(value)));
  }
  text += '}';
  return text;
}

}  // namespace FarsideCL::detail
