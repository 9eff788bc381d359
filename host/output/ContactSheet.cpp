#include "host/output/ContactSheet.h"

#include <algorithm>
#include <stdexcept>

namespace tetherhost {
namespace {

constexpr uint8_t kBackground = 32;

// Averages the source pixels that fall on each target pixel: a box filter is
// enough for thumbnails and keeps stamps and edges readable.
RgbaImage ScaleDown(const RgbaImage& source, int32_t width, int32_t height) {
  RgbaImage result(width, height);
  for (int32_t y = 0; y < height; ++y) {
    const int32_t y0 = static_cast<int32_t>(static_cast<int64_t>(y) * source.height() / height);
    const int32_t y1 = std::max(
        y0 + 1, static_cast<int32_t>(static_cast<int64_t>(y + 1) * source.height() / height));
    for (int32_t x = 0; x < width; ++x) {
      const int32_t x0 = static_cast<int32_t>(static_cast<int64_t>(x) * source.width() / width);
      const int32_t x1 = std::max(
          x0 + 1, static_cast<int32_t>(static_cast<int64_t>(x + 1) * source.width() / width));
      uint64_t sum[4] = {0, 0, 0, 0};
      for (int32_t sy = y0; sy < y1; ++sy) {
        for (int32_t sx = x0; sx < x1; ++sx) {
          const uint8_t* pixel = source.PixelAt(sx, sy);
          for (int c = 0; c < 4; ++c) {
            sum[c] += pixel[c];
          }
        }
      }
      const uint64_t count = static_cast<uint64_t>(y1 - y0) * static_cast<uint64_t>(x1 - x0);
      uint8_t* out = result.PixelAt(x, y);
      for (int c = 0; c < 4; ++c) {
        out[c] = static_cast<uint8_t>((sum[c] + count / 2) / count);
      }
    }
  }
  return result;
}

void Blit(const RgbaImage& cell, RgbaImage& sheet, int32_t left, int32_t top) {
  for (int32_t y = 0; y < cell.height(); ++y) {
    std::copy_n(cell.PixelAt(0, y), static_cast<size_t>(cell.width()) * 4,
                sheet.PixelAt(left, top + y));
  }
}

}  // namespace

ContactSheet::ContactSheet(int32_t columns, int32_t cellWidth, int32_t gap)
    : mColumns(columns), mCellWidth(cellWidth), mGap(gap) {
  if (columns <= 0 || cellWidth <= 0 || gap < 0) {
    throw std::invalid_argument("ContactSheet: columns and cell width must be positive");
  }
}

void ContactSheet::Add(const RgbaImage& frame) { mFrames.push_back(frame); }

RgbaImage ContactSheet::Compose() const {
  if (mFrames.empty() || mFrames.front().empty()) {
    return {};
  }
  const RgbaImage& first = mFrames.front();
  const int32_t cellHeight = std::max<int32_t>(
      1, static_cast<int32_t>(static_cast<int64_t>(mCellWidth) * first.height() / first.width()));
  const int32_t count = static_cast<int32_t>(mFrames.size());
  const int32_t columns = std::min(mColumns, count);
  const int32_t rows = (count + mColumns - 1) / mColumns;
  RgbaImage sheet(columns * mCellWidth + (columns + 1) * mGap,
                  rows * cellHeight + (rows + 1) * mGap);
  for (size_t i = 0; i < sheet.bytes().size(); i += 4) {
    std::fill_n(&sheet.bytes()[i], 3, kBackground);
    sheet.bytes()[i + 3] = 255;
  }
  for (int32_t index = 0; index < count; ++index) {
    const RgbaImage& frame = mFrames[static_cast<size_t>(index)];
    if (frame.empty()) {
      continue;
    }
    // Fit inside the cell, keeping this frame's own aspect, centred.
    int32_t width = mCellWidth;
    int32_t height = static_cast<int32_t>(static_cast<int64_t>(width) * frame.height() / frame.width());
    if (height > cellHeight) {
      height = cellHeight;
      width = static_cast<int32_t>(static_cast<int64_t>(height) * frame.width() / frame.height());
    }
    width = std::max(width, 1);
    height = std::max(height, 1);
    const int32_t column = index % mColumns;
    const int32_t row = index / mColumns;
    const int32_t left = mGap + column * (mCellWidth + mGap) + (mCellWidth - width) / 2;
    const int32_t top = mGap + row * (cellHeight + mGap) + (cellHeight - height) / 2;
    Blit(ScaleDown(frame, width, height), sheet, left, top);
  }
  return sheet;
}

}  // namespace tetherhost
