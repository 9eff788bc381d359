#pragma once

#include <cstddef>
#include <cstdint>

namespace tetherhost {

// The pixel layouts that the host writes out. The module hands frames over in
// the layout the owning application rendered; the host only needs to read the
// two that it asks for, and the byte-swapped twin of the float one.
enum class PixelLayout {
  kBGRA8,    // four 8-bit channels, blue first
  kRGBA32F,  // four 32-bit floats, red first, 1.0 is full scale
  kBGRA32F,  // four 32-bit floats, blue first
};

// A borrowed view of one rendered frame. The bytes belong to whoever made the
// view (usually a pane of the module) and must outlive it.
struct FrameView {
  const uint8_t* data = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  // Distance from one row to the next, in bytes; may exceed width * pixel size.
  int32_t rowBytes = 0;
  PixelLayout layout = PixelLayout::kBGRA8;
};

// Bytes of one pixel in `layout`.
size_t BytesPerPixel(PixelLayout layout);

// Throws std::invalid_argument, naming `reader`, unless the view has data and
// rows at least as long as its width.
void CheckRowsCoverWidth(const FrameView& frame, const char* reader);

}  // namespace tetherhost
