#include "host/output/RgbaImage.h"

#include "host/output/StraightColour.h"

#include <algorithm>
#include <cmath>

namespace tetherhost {
namespace {

uint8_t ToByte(float value) {
  // NaN compares false both ways and lands on 0, like a clamped negative.
  if (!(value > 0.0f)) {
    return 0;
  }
  if (value >= 1.0f) {
    return 255;
  }
  return static_cast<uint8_t>(std::lround(value * 255.0f));
}

// Frames come premultiplied (each colour already times alpha); a picture file
// holds straight colour, so each colour is divided by alpha again. Where
// alpha is 0 there is no colour to recover.
uint8_t Unpremultiplied(uint8_t colour, uint8_t alpha) {
  if (alpha == 0) return 0;
  if (alpha == 255) return colour;
  return static_cast<uint8_t>(std::min(255, (colour * 255 + alpha / 2) / alpha));
}

void ConvertRow(const uint8_t* source, PixelLayout layout, int32_t width, uint8_t* out) {
  for (int32_t x = 0; x < width; ++x, out += 4) {
    if (layout == PixelLayout::kBGRA8) {
      const uint8_t* pixel = source + static_cast<size_t>(x) * 4;
      out[0] = Unpremultiplied(pixel[2], pixel[3]);
      out[1] = Unpremultiplied(pixel[1], pixel[3]);
      out[2] = Unpremultiplied(pixel[0], pixel[3]);
      out[3] = pixel[3];
      continue;
    }
    const StraightColour colour = StraightColourOf(source + static_cast<size_t>(x) * 16, layout);
    for (int c = 0; c < 4; ++c) out[c] = ToByte(colour.rgba[c]);
  }
}

}  // namespace

RgbaImage::RgbaImage(int32_t width, int32_t height) {
  if (width < 0 || height < 0) {
    throw std::invalid_argument("RgbaImage: negative size");
  }
  mWidth = width;
  mHeight = height;
  mPixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 0);
}

RgbaImage RgbaImage::FromFrame(const FrameView& frame) {
  RgbaImage image(frame.width, frame.height);
  if (image.empty()) {
    return image;
  }
  CheckRowsCoverWidth(frame, "RgbaImage");
  for (int32_t y = 0; y < frame.height; ++y) {
    ConvertRow(frame.data + static_cast<size_t>(y) * static_cast<size_t>(frame.rowBytes),
               frame.layout, frame.width, image.PixelAt(0, y));
  }
  return image;
}

}  // namespace tetherhost
