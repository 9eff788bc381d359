#include <kilncore/serialization/JSONBuild.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/string/WideString.h>

namespace kilncore::serialization {
namespace {

JSONValuePtr Normalise(const std::any& value) {
  if (const auto* pointer = std::any_cast<JSONValuePtr>(&value)) {
    return *pointer ? *pointer : MakeJSONNull();
  }
  if (const auto* text = std::any_cast<const char*>(&value)) {
    return std::make_shared<std::any>(std::string(*text ? *text : ""));
  }
  if (const auto* text = std::any_cast<std::string_view>(&value)) {
    return std::make_shared<std::any>(std::string(*text));
  }
  if (const auto* text = std::any_cast<WideString>(&value)) {
    return std::make_shared<std::any>(string::UTF16to8(*text));
  }
  if (const auto* text = std::any_cast<const char16_t*>(&value)) {
    return std::make_shared<std::any>(string::UTF16to8(*text ? *text : u""));
  }
  return std::make_shared<std::any>(value);
}

JSONValuePtr OrNull(JSONValuePtr value) { return value ? std::move(value) : MakeJSONNull(); }

JSONArray& ArrayIn(const JSONValuePtr& array) {
  if (!array) throw std::bad_any_cast();
  return std::any_cast<JSONArray&>(*array);
}

JSONObject& ObjectIn(const JSONValuePtr& object) {
  if (!object) throw std::bad_any_cast();
  return std::any_cast<JSONObject&>(*object);
}

}  // namespace

void AppendToArray(JSONArray& array, JSONValuePtr value) { array.push_back(OrNull(std::move(value))); }
void AppendToArray(JSONArray& array, const std::any& value) { array.push_back(Normalise(value)); }
void AppendToArray(JSONArray& array, std::nullptr_t) { array.push_back(MakeJSONNull()); }
void AppendToArray(const JSONValuePtr& array, JSONValuePtr value) {
  AppendToArray(ArrayIn(array), std::move(value));
}
void AppendToArray(const JSONValuePtr& array, const std::any& value) {
  AppendToArray(ArrayIn(array), value);
}
void AppendToArray(const JSONValuePtr& array, std::nullptr_t) {
  AppendToArray(ArrayIn(array), nullptr);
}

void AddToObject(JSONObject& object, std::string_view key, JSONValuePtr value) {
  object.insert_or_assign(std::string(key), OrNull(std::move(value)));
}
void AddToObject(JSONObject& object, std::string_view key, const std::any& value) {
  object.insert_or_assign(std::string(key), Normalise(value));
}
void AddToObject(JSONObject& object, std::string_view key, std::nullptr_t) {
  object.insert_or_assign(std::string(key), MakeJSONNull());
}
void AddToObject(const JSONValuePtr& object, std::string_view key, JSONValuePtr value) {
  AddToObject(ObjectIn(object), key, std::move(value));
}
void AddToObject(const JSONValuePtr& object, std::string_view key, const std::any& value) {
  AddToObject(ObjectIn(object), key, value);
}
void AddToObject(const JSONValuePtr& object, std::string_view key, std::nullptr_t) {
  AddToObject(ObjectIn(object), key, nullptr);
}

JSONValuePtr BuildCall(std::string_view name, const JSONValuePtr& arguments) {
  JSONValuePtr array = arguments ? arguments : MakeJSONArray();
  ArrayIn(array);  // throws for anything but an array
  JSONValuePtr call = MakeJSONObject();
  AddToObject(call, kCallMethodKey, std::any(std::string(name)));
  AddToObject(call, kCallArgumentsKey, std::move(array));
  return call;
}

JSONValuePtr BuildCall(std::string_view name, JSONArray arguments) {
  return BuildCall(name, std::make_shared<std::any>(std::move(arguments)));
}

bool ReadCall(const JSONValuePtr& call, std::string& name, JSONValuePtr& arguments) {
  const auto* object = call ? std::any_cast<JSONObject>(call.get()) : nullptr;
  if (object == nullptr) return false;
  const auto method = object->find(std::string(kCallMethodKey));
  const auto params = object->find(std::string(kCallArgumentsKey));
  if (method == object->end() || params == object->end() || !method->second || !params->second) {
    return false;
  }
  const auto* text = std::any_cast<std::string>(method->second.get());
  if (text == nullptr || std::any_cast<JSONArray>(params->second.get()) == nullptr) return false;
  name = *text;
  arguments = params->second;
  return true;
}

}  // namespace kilncore::serialization
