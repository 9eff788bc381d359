#include "host/output/FrameView.h"

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

}  // namespace tetherhost
