#pragma once

#include <cstdint>

namespace TetherMedia {

// Rounds a size or colour value to an integer the way the host does: a
// positive value rounds half up; a value at or below zero rounds half towards
// zero and otherwise to the nearest integer. Sizes are rounded in double
// precision, matte colours in single precision, and the two must not be mixed:
// a float widened to double can land on the other side of a half.
int32_t RoundForFormat(double value);
int32_t RoundForFormat(float value);

}  // namespace TetherMedia
