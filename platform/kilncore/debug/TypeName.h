#pragma once

#include <string>
#include <typeinfo>

namespace kilncore::debug {

// The readable name of a type, as written in source: "TetherMedia::TetherMediaInfo"
// rather than the compiler's mangled form. Falls back to the mangled name if
// it can't be demangled.
std::string GetTypeName(const std::type_info& type);

template <typename T>
std::string GetTypeName() {
  return GetTypeName(typeid(T));
}

}  // namespace kilncore::debug
