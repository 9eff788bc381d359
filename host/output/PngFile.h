#pragma once

#include "host/output/RgbaImage.h"

#include <filesystem>

namespace tetherhost {

// Reads and writes 8-bit RGBA PNG files through libpng's simplified interface.
class PngFile {
 public:
  // Writes `image` to `path`, replacing any file there. Throws
  // std::runtime_error with libpng's message if the file cannot be written or
  // the image is empty.
  static void Write(const std::filesystem::path& path, const RgbaImage& image);

  // Reads any PNG that libpng understands, converted to 8-bit RGBA. Throws
  // std::runtime_error if the file is missing or not a PNG.
  static RgbaImage Read(const std::filesystem::path& path);
};

}  // namespace tetherhost
