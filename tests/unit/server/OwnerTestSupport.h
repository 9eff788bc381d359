#pragma once

#include <SessionContent.h>
#include <server/render/FrameStamp.h>

#include <tether/VideoRenderOptions.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace servertest {

// One frame of an item as the session would render it: default options
// (8-bit BGRA at the item's own size) at `seconds`.
struct RenderedFrame {
  int32_t status = -1;
  uint32_t width = 0;
  std::vector<unsigned char> pixels;

  std::optional<tetherserver::FrameStamp> Stamp() const {
    return tetherserver::ReadFrameStamp(pixels.data(), pixels.size());
  }
  // The B, G, R, A bytes of pixel (x, y).
  std::vector<unsigned char> Pixel(uint32_t x, uint32_t y) const {
    const size_t at = (size_t{y} * width + x) * 4;
    return {pixels[at], pixels[at + 1], pixels[at + 2], pixels[at + 3]};
  }
};

inline RenderedFrame RenderAt(const tetherserver::SessionItem& item, int64_t numerator, int64_t denominator = 1) {
  RenderedFrame frame;
  const tether::VideoRenderOptions options;
  const size_t size = item.FrameBytes(options);
  EXPECT_GT(size, 0u);
  frame.width = item.Describe().width;
  frame.pixels.assign(size, 0);
  frame.status = item.RenderFrame(options, tether::RatioTime(numerator, denominator), frame.pixels.data(), size);
  return frame;
}

}  // namespace servertest
