#pragma once

#include "host/output/FrameView.h"

#include <cstdint>

namespace tetherhost {

// One float pixel of a frame as red, green, blue and alpha with straight
// (not premultiplied) colour: the frame's colour divided by its alpha, 0 where
// alpha is 0 or not a number. Values are not clamped.
struct StraightColour {
  float rgba[4] = {0.0f, 0.0f, 0.0f, 0.0f};
};

// Reads the pixel at `pixel` in `layout`, one of the float layouts.
StraightColour StraightColourOf(const uint8_t* pixel, PixelLayout layout);

}  // namespace tetherhost
