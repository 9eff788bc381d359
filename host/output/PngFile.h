#pragma once

#include "host/output/Rgba16Image.h"
#include "host/output/RgbaImage.h"

#include <cstdint>
#include <filesystem>

namespace tetherhost {

// The shape of one pixel: its width over its height (10:11 for NTSC DV).
struct PixelAspect {
  int32_t numerator = 1;
  int32_t denominator = 1;

  bool square() const { return numerator == denominator; }
};

// Writes RGBA PNG files through libpng, 8 or 16 bits a channel with straight
// alpha, and reads them back for checks.
class PngFile {
 public:
  // Writes `image` to `path`, replacing any file there only once the new one
  // is complete (see OutputFile). A pixel aspect other than 1:1 is stated in a
  // pHYs chunk, as image readers and ffmpeg take it. Throws std::runtime_error
  // with libpng's message if the file cannot be written or the image is empty,
  // and std::invalid_argument for an aspect that isn't positive.
  static void Write(const std::filesystem::path& path, const RgbaImage& image, PixelAspect aspect = {});
  static void Write(const std::filesystem::path& path, const Rgba16Image& image, PixelAspect aspect = {});

  // Reads any PNG that libpng understands, converted to 8-bit RGBA. Throws
  // std::runtime_error if the file is missing or not a PNG.
  static RgbaImage Read(const std::filesystem::path& path);

  // The pixel aspect a file states in its pHYs chunk; 1:1 when it states none.
  // Throws std::runtime_error if the file is missing or not a PNG.
  static PixelAspect ReadPixelAspect(const std::filesystem::path& path);
};

}  // namespace tetherhost
