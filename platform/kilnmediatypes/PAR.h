#pragma once

// PixelAspectRatio lives in PAR.h, the usual short name of a pixel aspect
// ratio in video code.

#include <cstdint>

namespace kilnmediatypes {

// The shape of a pixel as width : height. A default-built ratio is square
// (1:1). kPixelAspectRatio_Any (0:0) in a wanted frame format means "whatever
// the source has".
struct PixelAspectRatio {
  int32_t numerator = 1;
  int32_t denominator = 1;

  constexpr PixelAspectRatio() noexcept = default;
  constexpr PixelAspectRatio(int32_t num, int32_t den) noexcept : numerator(num), denominator(den) {}

  // width / height; 0.0 for a ratio with a zero denominator, such as Any.
  constexpr double ToDouble() const noexcept {
    return denominator == 0 ? 0.0 : static_cast<double>(numerator) / denominator;
  }

  constexpr bool IsAny() const noexcept { return numerator == 0 && denominator == 0; }

  // Ratios of equal value are equal (4:3 == 8:6). A ratio with a zero
  // denominator equals only the same pair.
  friend constexpr bool operator==(const PixelAspectRatio& a, const PixelAspectRatio& b) noexcept {
    if (a.denominator == 0 || b.denominator == 0) {
      return a.numerator == b.numerator && a.denominator == b.denominator;
    }
    return static_cast<int64_t>(a.numerator) * b.denominator ==
           static_cast<int64_t>(b.numerator) * a.denominator;
  }
};

inline constexpr PixelAspectRatio kPixelAspectRatio_Any{0, 0};
inline constexpr PixelAspectRatio kPixelAspectRatio_Square{1, 1};
inline constexpr PixelAspectRatio kPixelAspectRatio_NTSC601{10, 11};
inline constexpr PixelAspectRatio kPixelAspectRatio_PAL601{59, 54};
inline constexpr PixelAspectRatio kPixelAspectRatio_Anamorphic2x{2, 1};

}  // namespace kilnmediatypes
