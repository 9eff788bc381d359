#pragma once

#include <tether/MediaTypes.h>

#include <cstddef>
#include <cstdint>

namespace tetherserver {

// Memory that a frame is rendered into, owned by the caller (in the server, a
// shared-memory block). Rows are `rowBytes` apart, top row first; each pixel
// has four channels in the memory order of `format` (8-bit or 32-bit float).
struct FrameBuffer {
  void* data = nullptr;
  size_t rowBytes = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  tether::PixelFormat format;
};

}  // namespace tetherserver
