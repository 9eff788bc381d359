#include "host/output/FrameView.h"

#include <stdexcept>
#include <string>

namespace tetherhost {

size_t BytesPerPixel(PixelLayout layout) {
  switch (layout) {
    case PixelLayout::kBGRA8:
      return 4;
    case PixelLayout::kRGBA32F:
    case PixelLayout::kBGRA32F:
      return 16;
  }
  return 0;
}

void CheckRowsCoverWidth(const FrameView& frame, const char* reader) {
  const size_t rowNeeded = static_cast<size_t>(frame.width) * BytesPerPixel(frame.layout);
  if (frame.data == nullptr || frame.rowBytes < 0 || static_cast<size_t>(frame.rowBytes) < rowNeeded) {
    throw std::invalid_argument(std::string(reader) + ": frame rows are shorter than its width");
  }
}

}  // namespace tetherhost
