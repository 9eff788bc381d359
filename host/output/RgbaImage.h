#pragma once

#include "host/output/FrameView.h"

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace tetherhost {

// A tightly packed 8-bit RGBA picture (straight alpha), the form in which the
// host writes PNG files and builds contact sheets.
class RgbaImage {
 public:
  RgbaImage() = default;
  // A picture of `width` x `height` pixels, all transparent black. Throws
  // std::invalid_argument for a negative size.
  RgbaImage(int32_t width, int32_t height);

  // Converts a rendered frame. 8-bit channels are reordered; float channels are
  // clamped to [0, 1] and rounded to the nearest 8-bit step. Throws
  // std::invalid_argument if the view's rows are shorter than its width or its
  // data is null while it has pixels.
  static RgbaImage FromFrame(const FrameView& frame);

  int32_t width() const { return mWidth; }
  int32_t height() const { return mHeight; }
  bool empty() const { return mWidth == 0 || mHeight == 0; }

  // The four bytes of pixel (x, y); no bounds check beyond debug builds.
  uint8_t* PixelAt(int32_t x, int32_t y) { return &mPixels[Offset(x, y)]; }
  const uint8_t* PixelAt(int32_t x, int32_t y) const { return &mPixels[Offset(x, y)]; }

  const std::vector<uint8_t>& bytes() const { return mPixels; }
  std::vector<uint8_t>& bytes() { return mPixels; }

 private:
  size_t Offset(int32_t x, int32_t y) const {
    return (static_cast<size_t>(y) * static_cast<size_t>(mWidth) + static_cast<size_t>(x)) * 4;
  }

  int32_t mWidth = 0;
  int32_t mHeight = 0;
  std::vector<uint8_t> mPixels;
};

}  // namespace tetherhost
