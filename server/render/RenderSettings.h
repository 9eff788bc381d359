#pragma once

#include <server/project/Composition.h>
#include <server/project/ProjectError.h>
#include <server/render/FrameBuffer.h>

#include <tether/MediaTypes.h>
#include <tether/VideoRenderOptions.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>

namespace tetherserver {

// What a frame is rendered with: the client's video render options resolved
// against one composition. One value serves every frame of a renderer.
//
// Resolution rules (docs/project-format.md, "Rendering"):
// - pixel format: the first of GetPixelFormats() whose code is one of BGRA,
//   RGBA (8-bit) or BGRF, RGBF (32-bit float); '****' (any) or an empty list
//   gives 8-bit BGRA; properties are kept as asked. No renderable format is
//   kUnsupportedPixelFormat.
// - size: GetBounds() when both are above 0, else the composition's size; the
//   picture is scaled to it. At most 16384 a side.
// - field type: GetFieldType() when 0, 1 or 2, else the composition's.
// - from the options' app-specific JSON (Marl render options, also inside
//   "SerializerWrappedObject"): "renderguidelayers", "downSampleX",
//   "downSampleY", "needsToPatchSourceForDownsample". Text that isn't a JSON
//   object, or members of the wrong type, leave the defaults.
struct RenderSettings {
  tether::PixelFormat pixelFormat;
  uint32_t width = 0;
  uint32_t height = 0;
  tether::FieldType fieldType = 0;
  tether::RenderQuality renderQuality = 0;
  bool renderGuideLayers = false;
  // Divisors of the picture's resolution, at least 1.
  uint32_t downSampleX = 1;
  uint32_t downSampleY = 1;
  // The host has shrunk the item's size already; the bounds are the reduced
  // size, so no further reduction is made.
  bool sourcePatchedForDownsample = false;
  // HashVideoRenderOptions of the options received; stamped into every frame.
  kilncore::utility::Guid optionsHash;

  static Outcome<RenderSettings> Resolve(const Composition& composition,
                                         const tether::VideoRenderOptions& options);

  // True when blocks of downSampleX by downSampleY pixels show one sample.
  bool ReducesResolution() const {
    return !sourcePatchedForDownsample && (downSampleX > 1 || downSampleY > 1);
  }
  // 4 for the 8-bit formats, 16 for the float ones.
  size_t BytesPerPixel() const;
  // The tight row length and frame size: what the plumbing allocates.
  size_t MinRowBytes() const { return BytesPerPixel() * width; }
  size_t FrameBytes() const { return MinRowBytes() * height; }
  // A buffer description of this size and format over `data`, rows tight.
  FrameBuffer MakeBuffer(void* data) const;
};

// True for the four pixel format codes the renderer writes.
bool IsRenderablePixelFormat(uint32_t fourcc);
bool IsFloatPixelFormatCode(uint32_t fourcc);

// A hash of every member of `options`, so that a frame tells exactly which
// options reached the server. XXH3-128, seed 0, of this byte sequence
// (integers little-endian):
//   the 26 bytes "TetherServerRenderOptions\x01",
//   int32 render quality, int32 field type,
//   uint32 n, then n times (uint32 fourcc, uint32 properties),
//   int32 bounds width, int32 bounds height,
//   uint8 use preview files, uint8 use proxies,
//   uint32 m, then the m UTF-16 units of the app-specific JSON (uint16 each),
//   uint32 caption stream format,
//   uint32 k, then the k bytes of the colour space definition.
kilncore::utility::Guid HashVideoRenderOptions(const tether::VideoRenderOptions& options);

}  // namespace tetherserver
