#pragma once

#include <any>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kilncore::serialization {

// JSON values as the host hands them around: a tree of std::any held by shared
// pointers.
//
// What a value holds:
//   object  -> JSONObject (UTF-8 keys, ordered; values never null pointers)
//   array   -> JSONArray
//   string  -> std::string, UTF-8
//   true/false -> bool
//   number  -> uint64_t for an integer >= 0, int64_t for a negative integer,
//              double for any other number (a fraction, an exponent, or an
//              integer too large for 64 bits)
//   null    -> an empty std::any (has_value() is false), held by a non-null
//              pointer
// A null JSONValuePtr means "no value at all": a missing key, or text that
// didn't parse.
//
// Trees built by code may also hold int, unsigned, int32_t and the other
// arithmetic types; readers accept them and GetJSONString writes them.
using JSONValue = std::any;
using JSONValuePtr = std::shared_ptr<std::any>;
using JSONObject = std::map<std::string, JSONValuePtr>;
using JSONArray = std::vector<JSONValuePtr>;

// A new empty object, array, or JSON null.
inline JSONValuePtr MakeJSONObject() { return std::make_shared<std::any>(JSONObject()); }
inline JSONValuePtr MakeJSONArray() { return std::make_shared<std::any>(JSONArray()); }
inline JSONValuePtr MakeJSONNull() { return std::make_shared<std::any>(); }

// True if `value` is a JSON null: a present value holding nothing.
inline bool IsJSONNull(const JSONValuePtr& value) { return value && !value->has_value(); }

}  // namespace kilncore::serialization
