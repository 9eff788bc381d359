#pragma once

#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/PixelFormat.h>

#include <cstdint>

namespace Pane {

// How the bytes of a frame are laid out, when whoever wraps them knows it.
// A default-built geometry states nothing: no size, no rows, no pixel format.
struct PaneGeometry {
  int32_t width = 0;
  int32_t height = 0;
  // The distance in bytes from the start of one row to the next.
  int32_t rowBytes = 0;
  kilnmediatypes::PixelFormat pixelFormat;
  kilnmediatypes::PixelAspectRatio pixelAspectRatio;
  kilnmediatypes::FieldType fieldType = kilnmediatypes::kFieldType_Progressive;

  friend bool operator==(const PaneGeometry&, const PaneGeometry&) noexcept = default;
};

}  // namespace Pane
