#pragma once

#include <any>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tether {

// The JSON-like value trees that travel through Source::SendRequest and the
// JSON conversions of the records: a std::any holding an AnyObject, an AnyArray,
// a UTF-8 std::string, a bool, an int, an unsigned, an int64_t, a uint64_t or a
// double. A null value is an empty std::any or a null pointer.
using AnyValue = std::shared_ptr<std::any>;
using AnyObject = std::map<std::string, AnyValue>;
using AnyArray = std::vector<AnyValue>;

// Shorthand for building trees in code: MakeAny(AnyObject{...}).
template <class T>
AnyValue MakeAny(T value) {
  return std::make_shared<std::any>(std::move(value));
}

}  // namespace tether
