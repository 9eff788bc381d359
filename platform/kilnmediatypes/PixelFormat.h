#pragma once

#include <compare>
#include <cstdint>
#include <vector>

namespace kilnmediatypes {

// A four-character code with its first character in the most significant byte,
// so that 'BGRA' reads the same in a hex dump as in text.
constexpr uint32_t MakeFourCC(char a, char b, char c, char d) noexcept {
  return static_cast<uint32_t>(static_cast<uint8_t>(a)) << 24 |
         static_cast<uint32_t>(static_cast<uint8_t>(b)) << 16 |
         static_cast<uint32_t>(static_cast<uint8_t>(c)) << 8 |
         static_cast<uint32_t>(static_cast<uint8_t>(d));
}

// The properties of a pixel format that states none of its own: the host's
// standard colour properties. A format read without its properties gets these.
inline constexpr uint32_t kPixelFormatProperties_Default = 0x00078000;

// A pixel format: a four-character code for the memory layout and 32 bits of
// properties (colour range, matrix and the like) that refine it. Two formats
// are the same only if both parts are. A default-built format is
// kPixelFormat_Invalid.
struct PixelFormat {
  uint32_t fourcc = 0;
  uint32_t properties = 0;

  constexpr PixelFormat() noexcept = default;
  constexpr explicit PixelFormat(uint32_t fourccCode,
                                 uint32_t propertyBits = kPixelFormatProperties_Default) noexcept
      : fourcc(fourccCode), properties(propertyBits) {}

  constexpr bool IsValid() const noexcept { return fourcc != 0; }

  friend constexpr bool operator==(const PixelFormat&, const PixelFormat&) noexcept = default;
  friend constexpr auto operator<=>(const PixelFormat&, const PixelFormat&) noexcept = default;
};

// No format at all.
inline constexpr PixelFormat kPixelFormat_Invalid{};
// In a list of offered formats: any format is accepted. Matched by its code.
inline constexpr PixelFormat kPixelFormat_Any{MakeFourCC('*', '*', '*', '*'), 0};

// Four channels in memory order B, G, R, A.
inline constexpr PixelFormat kPixelFormat_BGRA_4444_8u{MakeFourCC('B', 'G', 'R', 'A')};
inline constexpr PixelFormat kPixelFormat_BGRA_4444_16u{MakeFourCC('B', 'G', 'R', 'S')};
inline constexpr PixelFormat kPixelFormat_BGRA_4444_32f{MakeFourCC('B', 'G', 'R', 'F')};
// Four channels in memory order R, G, B, A.
inline constexpr PixelFormat kPixelFormat_RGBA_4444_8u{MakeFourCC('R', 'G', 'B', 'A')};
inline constexpr PixelFormat kPixelFormat_RGBA_4444_32f{MakeFourCC('R', 'G', 'B', 'F')};
// Luma and chroma with alpha, memory order V, U, Y, A.
inline constexpr PixelFormat kPixelFormat_VUYA_4444_8u{MakeFourCC('V', 'U', 'Y', 'A')};
inline constexpr PixelFormat kPixelFormat_VUYA_4444_32f{MakeFourCC('V', 'U', 'Y', 'F')};

// True for the named formats whose channels are 32-bit floats.
bool IsFloatPixelFormat(const PixelFormat& format) noexcept;

// Chooses what a renderer that offers `offered` should deliver to a caller who
// wants one of `wanted` (in order of preference):
// 1. the first wanted format that is offered, or that kPixelFormat_Any in
//    `offered` admits;
// 2. else `preferred`, if it is valid and offered;
// 3. else, unless `exactOnly`, the offered format nearest to the first wanted
//    one (see below);
// 4. else kPixelFormat_Invalid.
// kPixelFormat_Any itself is never the answer unless nothing else is known:
// with only kPixelFormat_Any offered and nothing wanted, the result is invalid.
//
// Nearness. A format with the wanted code (other properties only) is nearest
// of all. The named formats above are then compared by their colour model (RGB
// or YUV) and the depth of a channel (8, 16 or 32 bits):
// - at a render quality of 3 or more (high), precision comes first: a format
//   that keeps the wanted depth beats one that loses it, then the same colour
//   model beats a conversion, then the smallest depth that suffices wins;
// - below that, the conversion is what costs: the same colour model comes
//   first, then the depth nearest to the wanted one, the smaller on a tie.
// Formats this list doesn't name come after the named ones. Whatever is left
// equal is settled by the order of `offered`. When the wanted format isn't a
// named one (or none is wanted), a high quality takes the deepest named format offered, and below
// it the first offered format is taken.
PixelFormat SelectNearestPixelFormat(const std::vector<PixelFormat>& wanted,
                                     const PixelFormat& preferred,
                                     const std::vector<PixelFormat>& offered,
                                     int32_t renderQuality, bool exactOnly);

}  // namespace kilnmediatypes
