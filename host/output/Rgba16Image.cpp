#include "host/output/Rgba16Image.h"

#include "host/output/RgbaImage.h"
#include "host/output/StraightColour.h"

#include <cmath>
#include <stdexcept>

namespace tetherhost {
namespace {

uint16_t ToSample(float value) {
  if (!(value > 0.0f)) return 0;
  if (value >= 1.0f) return 65535;
  return static_cast<uint16_t>(std::lround(value * 65535.0f));
}

}  // namespace

Rgba16Image::Rgba16Image(int32_t width, int32_t height) {
  if (width < 0 || height < 0) throw std::invalid_argument("Rgba16Image: negative size");
  mWidth = width;
  mHeight = height;
  mSamples.assign(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 0);
}

RgbaImage Rgba16Image::Narrowed() const {
  RgbaImage narrow(mWidth, mHeight);
  for (size_t i = 0; i < mSamples.size(); ++i) {
    narrow.bytes()[i] = static_cast<uint8_t>((static_cast<uint32_t>(mSamples[i]) * 255 + 32767) / 65535);
  }
  return narrow;
}

Rgba16Image Rgba16Image::FromFrame(const FrameView& frame) {
  if (frame.layout == PixelLayout::kBGRA8) {
    // Eight bits have nothing more to keep: widen the straight picture.
    const RgbaImage narrow = RgbaImage::FromFrame(frame);
    Rgba16Image image(narrow.width(), narrow.height());
    for (size_t i = 0; i < narrow.bytes().size(); ++i) image.mSamples[i] = static_cast<uint16_t>(narrow.bytes()[i] * 257);
    return image;
  }
  Rgba16Image image(frame.width, frame.height);
  if (image.empty()) return image;
  CheckRowsCoverWidth(frame, "Rgba16Image");
  for (int32_t y = 0; y < frame.height; ++y) {
    const uint8_t* row = frame.data + static_cast<size_t>(y) * static_cast<size_t>(frame.rowBytes);
    for (int32_t x = 0; x < frame.width; ++x) {
      const StraightColour colour = StraightColourOf(row + static_cast<size_t>(x) * 16, frame.layout);
      uint16_t* out = image.PixelAt(x, y);
      for (int c = 0; c < 4; ++c) out[c] = ToSample(colour.rgba[c]);
    }
  }
  return image;
}

}  // namespace tetherhost
