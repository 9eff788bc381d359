#include <server/render/GlyphFont.h>

namespace tetherserver {
namespace {

// Five rows of three bits, the left dot in bit 2.
constexpr uint8_t kDigits[10][5] = {
    {7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7},
};
constexpr uint8_t kColon[5] = {0, 2, 0, 2, 0};
constexpr uint8_t kSemicolon[5] = {0, 2, 0, 2, 4};
constexpr uint8_t kMinus[5] = {0, 0, 7, 0, 0};

const uint8_t* Rows(char character) {
  if (character >= '0' && character <= '9') return kDigits[character - '0'];
  if (character == ':') return kColon;
  if (character == ';') return kSemicolon;
  if (character == '-') return kMinus;
  return nullptr;
}

}  // namespace

bool GlyphFont::IsLit(char character, int x, int y) {
  if (x < 0 || x >= kWidth || y < 0 || y >= kHeight) return false;
  const uint8_t* rows = Rows(character);
  return rows && (rows[y] >> (kWidth - 1 - x) & 1);
}

}  // namespace tetherserver
