#pragma once

#include "host/output/RgbaImage.h"

#include <cstdint>
#include <vector>

namespace tetherhost {

// Lays frames out on one picture, left to right and top to bottom, each scaled
// down to fit a cell of the same aspect, so that a whole range of frames can be
// judged at a glance.
class ContactSheet {
 public:
  // `columns` cells per row, each at most `cellWidth` pixels wide; `gap` pixels
  // of opaque dark grey between cells and around the edge. Throws
  // std::invalid_argument unless columns and cellWidth are positive and gap is
  // not negative.
  ContactSheet(int32_t columns, int32_t cellWidth, int32_t gap = 4);

  // Adds the next frame. Frames may differ in size; each keeps its aspect.
  void Add(const RgbaImage& frame);

  size_t size() const { return mFrames.size(); }

  // The sheet: empty if no frame was added. Cell height follows the first
  // frame's aspect ratio.
  RgbaImage Compose() const;

 private:
  int32_t mColumns;
  int32_t mCellWidth;
  int32_t mGap;
  std::vector<RgbaImage> mFrames;
};

}  // namespace tetherhost
