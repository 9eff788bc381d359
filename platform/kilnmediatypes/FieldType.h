#pragma once

#include <cstdint>

namespace kilnmediatypes {

// How the lines of a frame are ordered in time. A signed 32-bit value: it is
// stored as such in render options.
enum FieldType : int32_t {
  kFieldType_Progressive = 0,
  kFieldType_UpperFirst = 1,  // interlaced, upper field first
  kFieldType_LowerFirst = 2,  // interlaced, lower field first
  // In a wanted frame format: whatever the source has.
  kFieldType_Any = 4,
};

// True for the two interlaced orders.
constexpr bool IsInterlaced(FieldType type) noexcept {
  return type == kFieldType_UpperFirst || type == kFieldType_LowerFirst;
}

}  // namespace kilnmediatypes
