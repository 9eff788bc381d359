#pragma once

#include <server/render/FrameBuffer.h>

#include <tether/MediaTypes.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace tetherserver {

// The machine-readable stamp in the first 16 pixels of the top row of every
// rendered frame: what was rendered, and with which options, so that tests of
// any layer can check a frame that came through shared memory, a cache or a
// wrapper without knowing how it was drawn.
//
// The stamp is 64 bytes. Byte k sits in pixel k / 4, in memory channel k % 4
// (whatever the channel order of the format): as the byte itself in 8-bit
// formats, as the float byte / 255 in float formats. Integers are
// little-endian. Layout (docs/project-format.md, "Frame stamp"):
//   0  4  magic "TSTP"
//   4  1  layout version (1)
//   5  1  pixel format: 1 BGRA 8-bit, 2 RGBA 8-bit, 3 BGRA float, 4 RGBA float
//   6  1  field type rendered (0, 1, 2)
//   7  1  flags: bit 0 guide layers drawn, bit 1 resolution reduced by
//         down-sampling
//   8  8  int64 time rendered, in ticks (254016000000 a second)
//  16  8  int64 frame number: the time's frame at the composition's rate,
//         counted from the composition's first frame (0)
//  24 16  hash of the render options received (Guid::GuidToBytes order)
//  40 16  content state of the composition rendered (GuidToBytes order)
//  56  2  uint16 frame width, 58 2 uint16 frame height (each min(n, 65535))
//  60  4  uint32 low half of XXH3-64 (seed 0) of bytes 0..59
struct FrameStamp {
  static constexpr size_t kBytes = 64;
  static constexpr size_t kPixels = 16;
  static constexpr uint8_t kVersion = 1;
  static constexpr uint8_t kFlagGuideLayers = 1;
  static constexpr uint8_t kFlagReducedResolution = 2;

  uint8_t version = kVersion;
  uint8_t pixelFormatCode = 0;
  uint8_t fieldType = 0;
  uint8_t flags = 0;
  int64_t ticks = 0;
  int64_t frameNumber = 0;
  kilncore::utility::Guid optionsHash;
  kilncore::utility::Guid contentState;
  uint16_t width = 0;
  uint16_t height = 0;

  bool GuideLayersDrawn() const { return flags & kFlagGuideLayers; }
  bool ResolutionReduced() const { return flags & kFlagReducedResolution; }
  // The pixel format code of the stamp for a fourcc, 0 for another format.
  static uint8_t PixelFormatCode(uint32_t fourcc);

  friend bool operator==(const FrameStamp&, const FrameStamp&) = default;
};

// Writes `stamp` into the first 16 pixels of `buffer`'s top row. A frame less
// than 16 pixels wide gets only the pixels that fit, and so no readable stamp.
void WriteFrameStamp(const FrameStamp& stamp, const FrameBuffer& buffer);

// Reads the stamp at the start of a frame's memory: `pixels` points at the top
// left pixel and `byteCount` bytes may be read from there (the frame's size is
// fine). The format, 8-bit or float, is recognised by the magic. Nothing if no
// valid stamp is there (too few bytes, no magic, a wrong checksum).
std::optional<FrameStamp> ReadFrameStamp(const void* pixels, size_t byteCount);

}  // namespace tetherserver
