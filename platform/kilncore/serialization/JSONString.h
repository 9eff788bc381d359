#pragma once

#include <kilncore/serialization/JSONTypes.h>
#include <kilncore/string/WideString.h>

#include <any>
#include <string>

namespace kilncore::serialization {

// Writes a value as JSON text, UTF-8.
//
// Takes everything JSONParse produces, and what code commonly puts in a tree:
// any arithmetic type, std::string, std::string_view, const char*, WideString
// (converted to UTF-8), kilncore::utility::Guid (its text form), JSONObject,
// JSONArray, std::map<std::string, std::any>, std::vector<std::any>, and a
// JSONValuePtr anywhere (a null pointer or an empty std::any is written as
// null). Bytes of a string that aren't valid UTF-8 are written as U+FFFD. A
// number that isn't finite has no JSON form and is written as null.
//
// Throws std::bad_any_cast for a value of any other type.
//
// `pretty` adds line breaks and indentation of four spaces; without it the
// text has no whitespace at all, so that equal trees give equal texts.
//
// Example: GetJSONString(std::any(int64_t{5})) gives "5".
std::string GetJSONString(const std::any& value, bool pretty = false);
std::string GetJSONString(const JSONValuePtr& value, bool pretty = false);

// The same text as UTF-16.
WideString GetJSONWideString(const std::any& value, bool pretty = false);
WideString GetJSONWideString(const JSONValuePtr& value, bool pretty = false);

}  // namespace kilncore::serialization
