#pragma once

#include <kilnmediatypes/color/ColorSpace.h>

namespace RL::ColorSpaces {

// The colour space that a stream is taken to be in when it states none:
// Rec. 709, named as the host names it.
inline const kilnmediatypes::color::ColorSpace OR709{"Rec. 709"};

}  // namespace RL::ColorSpaces
