#pragma once

#include <kilncore/utility/HashMixerState.h>
#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/PixelFormat.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace RL {

// A wanted frame: what a caller asks a video source to deliver, and, once the
// source has settled it, what will really be delivered.
//
// A default-built format asks for "whatever the source has": no pixel format
// yet, the native size (0 x 0), the native pixel aspect ratio
// (kPixelAspectRatio_Any) and the native field order (kFieldType_Any), at
// render quality 0 and with no caption stream format.
//
// Equality is member by member; the pixel aspect ratio compares by value, so
// 4:3 equals 8:6. MixInWithHash is consistent with it: equal formats always
// feed equal bytes.
struct FrameFormat {
  // The memory layout of the pixels.
  kilnmediatypes::PixelFormat pixelFormat;
  // Refines the pixel format for the renderer that delivers it. A source that
  // settles a format writes 0 here.
  uint32_t pixelFormatFlags = 0;
  // The size in pixels; 0 in either means the source's native size.
  int32_t width = 0;
  int32_t height = 0;
  kilnmediatypes::PixelAspectRatio pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Any;
  kilnmediatypes::FieldType fieldType = kilnmediatypes::kFieldType_Any;
  // The host's quality selector; 3 and above count as high quality.
  int32_t renderQuality = 0;
  // The format of the caption stream to burn in or carry, as the captioning
  // source states it; 0 for none.
  uint32_t captionStreamFormat = 0;

  // The number of bytes that MixInWithHash feeds.
  static constexpr size_t kHashByteCount = 40;

  // The exact bytes that MixInWithHash feeds, in this fixed layout (every
  // integer little-endian, whatever the machine):
  //
  //   offset  size  member
  //    0       4    pixelFormat.fourcc            (uint32)
  //    4       4    pixelFormat.properties        (uint32)
  //    8       4    pixelFormatFlags              (uint32)
  //   12       4    width                         (int32)
  //   16       4    height                        (int32)
  //   20       4    pixelAspectRatio.numerator    (int32, reduced, see below)
  //   24       4    pixelAspectRatio.denominator  (int32, reduced, see below)
  //   28       4    fieldType                     (int32)
  //   32       4    renderQuality                 (int32)
  //   36       4    captionStreamFormat           (uint32)
  //
  // A ratio with a non-zero denominator is reduced to lowest terms with a
  // positive denominator first (8:6 and -4:-3 feed 4:3), so that formats that
  // compare equal hash equal; a ratio with a zero denominator (Any) is fed as
  // it is. The layout is documented in docs/hashing.md; changing it changes
  // every frame identifier.
  std::array<uint8_t, kHashByteCount> GetHashBytes() const noexcept;

  // Feeds GetHashBytes() to `state`, in one piece. Takes the common base so
  // that both the frame hash and the general-purpose hash can be fed.
  void MixInWithHash(kilncore::utility::HashMixerState& state) const;

  friend bool operator==(const FrameFormat&, const FrameFormat&) noexcept = default;
};

}  // namespace RL
