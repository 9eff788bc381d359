#pragma once

#include <tether/AnyTree.h>
#include <tether/CapsuleParamValue.h>

#include <map>
#include <string>

namespace tether {

// The values a user gave to the parameters of a motion-graphics template, by
// parameter key. The owning application interprets them; this library only
// stores, compares and converts them.
//
// JSON form: one object, parameter key to value; null, true/false, an integer,
// a number, a string, or an array of numbers.
struct CapsuleParamValues {
  std::map<std::string, CapsuleParamValue> values;

  bool IsEmpty() const { return values.empty(); }

  friend bool operator==(const CapsuleParamValues&, const CapsuleParamValues&) = default;
};

// The JSON form above as a value tree (an AnyObject).
AnyValue ToJSON(const CapsuleParamValues& values);

// Reads the JSON form from a value tree. A null tree gives empty values. Throws
// std::bad_any_cast for a tree that isn't an object or holds a value of another
// type (a nested object, a string inside an array...).
CapsuleParamValues FromJSON(const AnyValue& tree);

}  // namespace tether
