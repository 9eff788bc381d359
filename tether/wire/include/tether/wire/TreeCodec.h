#pragma once

#include <tether/AnyTree.h>

#include <string>
#include <string_view>

namespace tether::wire {

// Value trees (AnyTree.h) as msgpack bytes.
//
// Objects become maps with string keys, arrays arrays, strings strings, bools
// bools, every integer type an integer and floating types a double; an empty
// std::any or a null pointer becomes nil. Decoding gives back what a JSON
// parser of the host would: uint64_t for integers >= 0, int64_t for negative
// ones, double for floats, and a non-null pointer to an empty std::any for nil.

// Throws WireError for a value of a type that the trees don't hold.
std::string EncodeTree(const AnyValue& value);

// Throws WireError for malformed bytes, trailing bytes, types the trees don't
// hold (binary, extensions, non-string keys, repeated keys), and trees deeper or
// wider than the protocol's limits.
AnyValue DecodeTree(std::string_view bytes);

}  // namespace tether::wire
