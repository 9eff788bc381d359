#include <kilncore/serialization/JSONAccess.h>

#include <string>

namespace kilncore::serialization {
namespace {

// The object that `value` holds, null for no value; throws for anything else.
const JSONObject* AsObject(const std::any& value) {
  if (!value.has_value()) return nullptr;
  if (const auto* object = std::any_cast<JSONObject>(&value)) return object;
  if (const auto* nested = std::any_cast<JSONValuePtr>(&value)) {
    return *nested ? AsObject(**nested) : nullptr;
  }
  throw std::bad_any_cast();
}

const JSONObject* AsObject(const JSONValuePtr& value) { return value ? AsObject(*value) : nullptr; }

const JSONValuePtr* FindMember(const JSONObject* object, std::string_view key) {
  if (object == nullptr) return nullptr;
  const auto found = object->find(std::string(key));
  return found == object->end() ? nullptr : &found->second;
}

bool HasMember(const JSONObject* object, std::string_view key, bool nullCountsAsPresent) {
  const JSONValuePtr* member = FindMember(object, key);
  if (member == nullptr) return false;
  // A null pointer in a hand-built tree stands for JSON null, as below.
  return nullCountsAsPresent || (*member && (*member)->has_value());
}

JSONValuePtr MemberValue(const JSONObject* object, std::string_view key) {
  const JSONValuePtr* member = FindMember(object, key);
  if (member == nullptr) return nullptr;
  // Trees built by hand may hold a null pointer where a parsed tree holds a
  // JSON null; callers see the parsed form either way.
  return *member ? *member : MakeJSONNull();
}

}  // namespace

bool ObjectHasProperty(const JSONObject& object, std::string_view key, bool nullCountsAsPresent) {
  return HasMember(&object, key, nullCountsAsPresent);
}

bool ObjectHasProperty(const std::any& object, std::string_view key, bool nullCountsAsPresent) {
  return HasMember(AsObject(object), key, nullCountsAsPresent);
}

bool ObjectHasProperty(const JSONValuePtr& object, std::string_view key,
                       bool nullCountsAsPresent) {
  return HasMember(AsObject(object), key, nullCountsAsPresent);
}

JSONValuePtr GetVariantInObject(const JSONObject& object, std::string_view key) {
  return MemberValue(&object, key);
}

JSONValuePtr GetVariantInObject(const std::any& object, std::string_view key) {
  return MemberValue(AsObject(object), key);
}

JSONValuePtr GetVariantInObject(const JSONValuePtr& object, std::string_view key) {
  return MemberValue(AsObject(object), key);
}

}  // namespace kilncore::serialization
