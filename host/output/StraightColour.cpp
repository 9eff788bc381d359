#include "host/output/StraightColour.h"

#include <cstring>

namespace tetherhost {

StraightColour StraightColourOf(const uint8_t* pixel, PixelLayout layout) {
  float channels[4];
  std::memcpy(channels, pixel, sizeof(channels));
  const bool blueFirst = layout == PixelLayout::kBGRA32F;
  const float alpha = channels[3];
  StraightColour colour;
  colour.rgba[3] = alpha;
  if (!(alpha > 0.0f)) return colour;
  colour.rgba[0] = channels[blueFirst ? 2 : 0] / alpha;
  colour.rgba[1] = channels[1] / alpha;
  colour.rgba[2] = channels[blueFirst ? 0 : 2] / alpha;
  return colour;
}

}  // namespace tetherhost
