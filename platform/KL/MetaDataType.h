#pragma once

#include <cstdint>

namespace KL {

// The kind of value that a metadata write carries.
enum class MetaDataType : int32_t {
  kUnknown = 0,
  kText = 1,
  kInteger = 2,
  kReal = 3,
  kBool = 4,
  kTime = 5,
  kBinary = 6,
};

}  // namespace KL
