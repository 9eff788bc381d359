#pragma once

#include "host/output/FrameView.h"
#include "host/output/RgbaImage.h"

#include <cstdint>
#include <vector>

namespace tetherhost {

// A tightly packed 16-bit RGBA picture (straight alpha, 65535 is full scale),
// the form in which the host writes float frames so that they keep more than
// 8 bits of each channel.
class Rgba16Image {
 public:
  Rgba16Image() = default;
  // A picture of `width` x `height` pixels, all transparent black. Throws
  // std::invalid_argument for a negative size.
  Rgba16Image(int32_t width, int32_t height);

  // Converts a rendered frame, premultiplied as frames are, to straight
  // colour: float channels are divided by alpha, clamped to [0, 1] and rounded
  // to the nearest 16-bit step; 8-bit channels are unpremultiplied and widened
  // (x 257). Throws std::invalid_argument as RgbaImage::FromFrame does.
  static Rgba16Image FromFrame(const FrameView& frame);

  int32_t width() const { return mWidth; }
  int32_t height() const { return mHeight; }
  bool empty() const { return mWidth == 0 || mHeight == 0; }

  // The four samples of pixel (x, y).
  uint16_t* PixelAt(int32_t x, int32_t y) { return &mSamples[Offset(x, y)]; }
  const uint16_t* PixelAt(int32_t x, int32_t y) const { return &mSamples[Offset(x, y)]; }

  const std::vector<uint16_t>& samples() const { return mSamples; }

  // The picture at 8 bits a channel, each sample rounded to the nearest step.
  RgbaImage Narrowed() const;

 private:
  size_t Offset(int32_t x, int32_t y) const {
    return (static_cast<size_t>(y) * static_cast<size_t>(mWidth) + static_cast<size_t>(x)) * 4;
  }

  int32_t mWidth = 0;
  int32_t mHeight = 0;
  std::vector<uint16_t> mSamples;
};

}  // namespace tetherhost
