#include <server/render/TextRasterizer.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <climits>
#include <cmath>
#include <map>
#include <mutex>
#include <tuple>

namespace tetherserver {
namespace {

using Key = std::tuple<std::string, int32_t, uint64_t, int64_t, std::string, int64_t, int32_t, int32_t>;

constexpr size_t kCacheLimit = 256;

std::mutex gCacheMutex;
std::map<Key, std::shared_ptr<const TextBitmap>> gCache;

// One FreeType library and face for one drawing: FreeType objects aren't
// shared between threads.
class Face {
 public:
  Face(const ResolvedFont& font, double pixelSize) {
    if (FT_Init_FreeType(&mLibrary) != 0) {
      mLibrary = nullptr;
      return;
    }
    if (FT_New_Face(mLibrary, font.file.c_str(), font.index, &mFace) != 0) {
      mFace = nullptr;
      return;
    }
    const auto size = static_cast<FT_F26Dot6>(std::lround(pixelSize * 64.0));
    if (FT_Set_Char_Size(mFace, 0, size, 72, 72) != 0) {
      FT_Done_Face(mFace);
      mFace = nullptr;
    }
  }
  ~Face() {
    if (mFace) FT_Done_Face(mFace);
    if (mLibrary) FT_Done_FreeType(mLibrary);
  }
  Face(const Face&) = delete;
  Face& operator=(const Face&) = delete;

  FT_Face Get() const { return mFace; }

 private:
  FT_Library mLibrary = nullptr;
  FT_Face mFace = nullptr;
};

struct PlacedGlyph {
  int32_t left = 0;  // pixels, relative to the origin
  int32_t top = 0;   // rows above the baseline
  uint32_t width = 0;
  uint32_t rows = 0;
  std::vector<uint8_t> pixels;
};

std::shared_ptr<const TextBitmap> Rasterize(const ResolvedFont& font, const std::vector<char32_t>& text,
                                            double pixelSize, int32_t originX, int32_t originY) {
  auto bitmap = std::make_shared<TextBitmap>();
  Face face(font, pixelSize);
  FT_Face ft = face.Get();
  if (!ft) return bitmap;

  std::vector<PlacedGlyph> glyphs;
  int64_t pen = 0;  // 26.6
  FT_UInt previous = 0;
  const bool kerning = FT_HAS_KERNING(ft);
  for (char32_t code : text) {
    const FT_UInt index = FT_Get_Char_Index(ft, code);
    if (kerning && previous && index) {
      FT_Vector delta{};
      if (FT_Get_Kerning(ft, previous, index, FT_KERNING_DEFAULT, &delta) == 0) pen += delta.x;
    }
    previous = index;
    if (FT_Load_Glyph(ft, index, FT_LOAD_RENDER) != 0) continue;
    const FT_GlyphSlot slot = ft->glyph;
    const FT_Bitmap& source = slot->bitmap;
    if (source.pixel_mode == FT_PIXEL_MODE_GRAY && source.width > 0 && source.rows > 0) {
      PlacedGlyph glyph;
      glyph.left = static_cast<int32_t>((pen >> 6) + slot->bitmap_left);
      glyph.top = slot->bitmap_top;
      glyph.width = source.width;
      glyph.rows = source.rows;
      glyph.pixels.resize(static_cast<size_t>(source.width) * source.rows);
      for (unsigned row = 0; row < source.rows; ++row) {
        const unsigned char* line = source.buffer + static_cast<ptrdiff_t>(row) * source.pitch;
        std::copy(line, line + source.width, glyph.pixels.begin() + static_cast<ptrdiff_t>(row) * source.width);
      }
      glyphs.push_back(std::move(glyph));
    }
    pen += slot->advance.x;
  }
  if (glyphs.empty()) return bitmap;

  int32_t minX = INT32_MAX, maxX = INT32_MIN, maxTop = INT32_MIN, minBottom = INT32_MAX;
  for (const PlacedGlyph& glyph : glyphs) {
    minX = std::min(minX, glyph.left);
    maxX = std::max(maxX, glyph.left + static_cast<int32_t>(glyph.width));
    maxTop = std::max(maxTop, glyph.top);
    minBottom = std::min(minBottom, glyph.top - static_cast<int32_t>(glyph.rows));
  }
  bitmap->left = originX + minX;
  bitmap->top = originY - maxTop;
  bitmap->width = static_cast<uint32_t>(maxX - minX);
  bitmap->height = static_cast<uint32_t>(maxTop - minBottom);
  bitmap->coverage.assign(static_cast<size_t>(bitmap->width) * bitmap->height, 0);
  for (const PlacedGlyph& glyph : glyphs) {
    const uint32_t x0 = static_cast<uint32_t>(glyph.left - minX);
    const uint32_t y0 = static_cast<uint32_t>(maxTop - glyph.top);
    for (uint32_t row = 0; row < glyph.rows; ++row) {
      for (uint32_t column = 0; column < glyph.width; ++column) {
        uint8_t& target = bitmap->coverage[static_cast<size_t>(y0 + row) * bitmap->width + x0 + column];
        target = std::max(target, glyph.pixels[static_cast<size_t>(row) * glyph.width + column]);
      }
    }
  }
  return bitmap;
}

}  // namespace

std::vector<char32_t> TextRasterizer::DecodeUtf8(const std::string& text) {
  std::vector<char32_t> codes;
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
    char32_t code = length == 1 ? lead : length == 2 ? (lead & 0x1F) : length == 3 ? (lead & 0x0F) : (lead & 0x07);
    bool good = length != 0 && i + length <= text.size();
    for (size_t k = 1; good && k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next >> 6) != 0x2) good = false;
      code = (code << 6) | (next & 0x3F);
    }
    if (good && (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))) good = false;
    codes.push_back(good ? code : U'\uFFFD');
    i += good ? length : 1;
  }
  return codes;
}

std::shared_ptr<const TextBitmap> TextRasterizer::Draw(const ResolvedFont& font, const std::string& text,
                                                       double pixelSize, int32_t originX, int32_t originY) {
  if (!(pixelSize > 0.0) || pixelSize > kMaxPixelSize) return std::make_shared<TextBitmap>();
  std::vector<char32_t> codes = DecodeUtf8(text);
  if (codes.size() > kMaxCharacters) codes.resize(kMaxCharacters);
  const Key key{font.file, font.index, font.fileSize, font.modifiedNanoseconds, text,
                std::llround(pixelSize * 64.0), originX, originY};
  {
    std::lock_guard lock(gCacheMutex);
    const auto found = gCache.find(key);
    if (found != gCache.end()) return found->second;
  }
  auto bitmap = Rasterize(font, codes, pixelSize, originX, originY);
  std::lock_guard lock(gCacheMutex);
  if (gCache.size() >= kCacheLimit) gCache.clear();
  gCache.emplace(key, bitmap);
  return bitmap;
}

}  // namespace tetherserver
