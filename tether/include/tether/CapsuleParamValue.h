#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace tether {

// The value of one parameter of a motion-graphics template ("capsule"): nothing,
// a checkbox, an integer choice, a slider, a UTF-8 text, or a tuple of numbers
// (points and colours).
using CapsuleParamValue =
    std::variant<std::monostate, bool, int64_t, double, std::string, std::vector<double>>;

}  // namespace tether
