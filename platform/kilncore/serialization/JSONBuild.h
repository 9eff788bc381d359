#pragma once

#include <kilncore/serialization/JSONTypes.h>

#include <any>
#include <cstddef>
#include <string>
#include <string_view>

namespace kilncore::serialization {

// Building JSON trees, for requests to servers.
//
// The value forms: a JSONValuePtr is stored as it is (shared, not copied; a
// null pointer becomes JSON null); a std::any is stored in a new pointer, with
// text normalised to what a parsed tree holds: const char*, std::string_view,
// WideString and const char16_t* become std::string (UTF-8), and a std::any
// that holds a JSONValuePtr is stored as that pointer. Numbers are kept in the
// type given.
//
// The container may be given as the JSONArray or JSONObject itself or as a
// JSONValuePtr that holds one; a JSONValuePtr that holds anything else (or
// nothing) throws std::bad_any_cast.
//
// Example: the argument array of a request.
//   JSONValuePtr time = MakeJSONObject();
//   AddToObject(time, "ticks", int64_t{254016000000});
//   JSONValuePtr arguments = MakeJSONArray();
//   AppendToArray(arguments, path.FullPathUTF8());
//   AppendToArray(arguments, time);
//   JSONValuePtr call = BuildCall("com.example.Method", arguments);

void AppendToArray(JSONArray& array, JSONValuePtr value);
void AppendToArray(JSONArray& array, const std::any& value);
void AppendToArray(JSONArray& array, std::nullptr_t);
void AppendToArray(const JSONValuePtr& array, JSONValuePtr value);
void AppendToArray(const JSONValuePtr& array, const std::any& value);
void AppendToArray(const JSONValuePtr& array, std::nullptr_t);

// Sets member `key`, replacing a member of that name.
void AddToObject(JSONObject& object, std::string_view key, JSONValuePtr value);
void AddToObject(JSONObject& object, std::string_view key, const std::any& value);
void AddToObject(JSONObject& object, std::string_view key, std::nullptr_t);
void AddToObject(const JSONValuePtr& object, std::string_view key, JSONValuePtr value);
void AddToObject(const JSONValuePtr& object, std::string_view key, const std::any& value);
void AddToObject(const JSONValuePtr& object, std::string_view key, std::nullptr_t);

// The members of a call made by BuildCall.
inline constexpr std::string_view kCallMethodKey = "method";
inline constexpr std::string_view kCallArgumentsKey = "params";

// A request to a server: the object {"method": name, "params": arguments}.
// `arguments` must be an array (a null pointer gives an empty one); anything
// else throws std::bad_any_cast. The array is shared, not copied.
JSONValuePtr BuildCall(std::string_view name, const JSONValuePtr& arguments);
JSONValuePtr BuildCall(std::string_view name, JSONArray arguments);

// Takes a call made by BuildCall apart, for the side that answers it. False if
// `call` isn't of that form; `name` and `arguments` are then left as they were.
bool ReadCall(const JSONValuePtr& call, std::string& name, JSONValuePtr& arguments);

}  // namespace kilncore::serialization
