#pragma once

#include <boost/rational.hpp>

#include <cstdint>
#include <string>
#include <vector>

// Small media value types of the client library.
//
// They mirror the host's media types (frame rates, pixel formats, aspect ratios,
// colour spaces) without depending on the host's media library, so that the
// client can be built and tested on its own. Conversions to the host's types are
// plain member copies.
namespace tether {

// A time on the wire: seconds as an exact fraction.
using RatioTime = boost::rational<int64_t>;

// Ticks of the host's time base in one second.
inline constexpr int64_t kTicksPerSecond = 254016000000;

// The host's invalid time (-101606400000000000 ticks) as a fraction of seconds.
inline const RatioTime kInvalidRatioTime{-400000, 1};

// A frame (or sample) length in ticks of the host's time base.
using FrameRate = int64_t;

// The frame length that means "no rate".
inline constexpr FrameRate kNoFrameRate = 0x7FFFFFFFFFFFFFFF;

// The host's field type (0 progressive, 1 upper first, 2 lower first, 4 any).
using FieldType = int32_t;

// The host's render quality selector.
using RenderQuality = int32_t;

// One channel of an audio layout, as the host labels it.
using AudioChannelLabel = uint32_t;

// A pixel format: a four-character code and its property bits.
struct PixelFormat {
  uint32_t fourcc = 0;
  uint32_t properties = 0;

  friend bool operator==(const PixelFormat&, const PixelFormat&) = default;
};

// A pixel aspect ratio as a fraction; 1/1 is square.
struct PixelAspectRatio {
  int32_t numerator = 1;
  int32_t denominator = 1;

  double ToDouble() const {
    return denominator == 0 ? 0.0 : static_cast<double>(numerator) / denominator;
  }
  friend bool operator==(const PixelAspectRatio&, const PixelAspectRatio&) = default;
};

// A rectangle in pixels; a frame size has left and top 0.
struct FrameRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;

  friend bool operator==(const FrameRect&, const FrameRect&) = default;
};

// The size that a video renderer renders at.
struct RenderBounds {
  int32_t width = 0;
  int32_t height = 0;

  friend bool operator==(const RenderBounds&, const RenderBounds&) = default;
};

// A colour space as the server describes it: an opaque definition (a name or a
// serialised profile) that the host turns into its own colour space. Empty means
// that the item has no colour space of its own.
struct ColorSpace {
  std::string definition;

  bool IsEmpty() const { return definition.empty(); }
  friend bool operator==(const ColorSpace&, const ColorSpace&) = default;
};

}  // namespace tether
