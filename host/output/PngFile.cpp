#include "host/output/PngFile.h"

#include <png.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace tetherhost {
namespace {

[[noreturn]] void Fail(const char* what, const std::filesystem::path& path, const png_image& png) {
  throw std::runtime_error(std::string(what) + " " + path.string() + ": " + png.message);
}

}  // namespace

void PngFile::Write(const std::filesystem::path& path, const RgbaImage& image) {
  if (image.empty()) {
    throw std::runtime_error("cannot write an empty picture to " + path.string());
  }
  png_image png;
  std::memset(&png, 0, sizeof(png));
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width());
  png.height = static_cast<png_uint_32>(image.height());
  png.format = PNG_FORMAT_RGBA;
  if (png_image_write_to_file(&png, path.c_str(), 0, image.bytes().data(), 0, nullptr) == 0) {
    Fail("cannot write", path, png);
  }
}

RgbaImage PngFile::Read(const std::filesystem::path& path) {
  png_image png;
  std::memset(&png, 0, sizeof(png));
  png.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&png, path.c_str()) == 0) {
    Fail("cannot read", path, png);
  }
  png.format = PNG_FORMAT_RGBA;
  RgbaImage image(static_cast<int32_t>(png.width), static_cast<int32_t>(png.height));
  if (png_image_finish_read(&png, nullptr, image.bytes().data(), 0, nullptr) == 0) {
    Fail("cannot decode", path, png);
  }
  return image;
}

}  // namespace tetherhost
