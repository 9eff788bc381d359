#pragma once

#include <server/render/FontCatalog.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tetherserver {

// A line of text drawn as coverage (0..255), placed in composition pixels.
struct TextBitmap {
  // Where coverage(0, 0) lies: its left column and top row.
  int32_t left = 0;
  int32_t top = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> coverage;  // width × height, rows top down

  bool Empty() const { return width == 0 || height == 0; }
  // Coverage at composition pixel (x, y); 0 outside.
  uint8_t At(int64_t x, int64_t y) const {
    const int64_t column = x - left;
    const int64_t row = y - top;
    if (column < 0 || row < 0 || column >= width || row >= height) return 0;
    return coverage[static_cast<size_t>(row) * width + static_cast<size_t>(column)];
  }
};

// Draws one line of UTF-8 text with FreeType: glyphs of `font` at `pixelSize`
// pixels to the em, anti-aliased, pen moving left to right from the baseline
// point (originX, originY), with the font's kerning. Characters the font
// lacks are drawn as its missing glyph; bytes that aren't UTF-8 count as
// U+FFFD. An empty bitmap if the font can't be read.
//
// Results are kept (a few hundred lines at most), so a text layer costs its
// rasterization once rather than once per frame. Thread-safe.
class TextRasterizer {
 public:
  static constexpr double kMaxPixelSize = 2048.0;
  static constexpr size_t kMaxCharacters = 1024;

  static std::shared_ptr<const TextBitmap> Draw(const ResolvedFont& font, const std::string& text,
                                                double pixelSize, int32_t originX, int32_t originY);

  // The code points of `text`, malformed sequences as U+FFFD.
  static std::vector<char32_t> DecodeUtf8(const std::string& text);
};

}  // namespace tetherserver
