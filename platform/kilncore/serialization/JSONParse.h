#pragma once

#include <kilncore/serialization/JSONTypes.h>
#include <kilncore/string/WideString.h>

#include <cstddef>
#include <string_view>

namespace kilncore::serialization {

// Nesting deeper than this many objects and arrays is refused as malformed, so
// that no input can exhaust the stack of code that walks the tree.
inline constexpr size_t kMaxJSONNestingDepth = 512;

// Parses JSON text into a tree of std::any (see JSONTypes.h for what each value
// holds).
//
// Returns a null pointer for text that isn't exactly one well-formed JSON
// value: empty text, syntax errors, trailing text other than whitespace, text
// that isn't valid UTF-16 (or UTF-8, for the second form), an embedded NUL
// outside a string escape, or nesting deeper than kMaxJSONNestingDepth.
// Strings come out as UTF-8. Of duplicate keys in one object the first is kept.
//
// Example:
//   JSONValuePtr root = JSONParse(u"{\"version\":11}");
//   auto& object = std::any_cast<JSONObject&>(*root);
//   uint64_t version = std::any_cast<uint64_t>(*object["version"]);
JSONValuePtr JSONParse(WideStringView text);
JSONValuePtr JSONParse(std::string_view utf8Text);

}  // namespace kilncore::serialization
