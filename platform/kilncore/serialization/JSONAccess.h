#pragma once

#include <kilncore/serialization/JSONTypes.h>

#include <any>
#include <string_view>

namespace kilncore::serialization {

// Reading members of JSON objects.
//
// Each function takes the object in three forms: the JSONObject itself, a
// std::any that holds one, or a JSONValuePtr to such a std::any (a std::any
// that holds a JSONValuePtr is followed too). "No value" in any form (a null
// pointer, an empty std::any) is an object without members. A value that holds
// anything else isn't an object, and that is an error of type: it throws
// std::bad_any_cast, like every other reader of a wrong type.

// True if `object` has a member `key`. A member whose value is JSON null counts
// as present unless `nullCountsAsPresent` is false.
//
// Example: for {"a":null}, ObjectHasProperty(root, "a") is true and
// ObjectHasProperty(root, "a", false) is false.
bool ObjectHasProperty(const JSONObject& object, std::string_view key,
                       bool nullCountsAsPresent = true);
bool ObjectHasProperty(const std::any& object, std::string_view key,
                       bool nullCountsAsPresent = true);
bool ObjectHasProperty(const JSONValuePtr& object, std::string_view key,
                       bool nullCountsAsPresent = true);

// The value of member `key`, or a null pointer if there is no such member. A
// member that is JSON null gives a non-null pointer to an empty std::any.
//
// Example:
//   if (JSONValuePtr version = GetVariantInObject(root, "version")) ...
JSONValuePtr GetVariantInObject(const JSONObject& object, std::string_view key);
JSONValuePtr GetVariantInObject(const std::any& object, std::string_view key);
JSONValuePtr GetVariantInObject(const JSONValuePtr& object, std::string_view key);

}  // namespace kilncore::serialization
