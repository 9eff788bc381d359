#pragma once

#include <cstdint>

namespace tetherserver {

// A 3 by 5 dot font for burn-ins: the digits, ':', ';' and '-'. Each glyph
// advances 4 dots; every other character is blank.
class GlyphFont {
 public:
  static constexpr int kWidth = 3;
  static constexpr int kHeight = 5;
  static constexpr int kAdvance = 4;

  // True if dot (x, y) of `character` is lit; x in 0..2, y in 0..4, top first.
  static bool IsLit(char character, int x, int y);
};

}  // namespace tetherserver
