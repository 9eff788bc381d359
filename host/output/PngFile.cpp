#include "host/output/PngFile.h"

#include "host/output/OutputFile.h"

#include <png.h>

#include <bit>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

namespace tetherhost {
namespace {

// What libpng needs to write one picture; plain data, because the writer
// below returns through longjmp on a failure and must hold nothing that
// needs a destructor.
struct PngPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  int bitDepth = 8;
  const uint8_t* data = nullptr;
  size_t rowBytes = 0;
  PixelAspect aspect;
};

struct PngFailure {
  char message[256] = "";
};

void OnError(png_structp png, png_const_charp message) {
  auto* failure = static_cast<PngFailure*>(png_get_error_ptr(png));
  std::snprintf(failure->message, sizeof(failure->message), "%s", message);
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

// Writes `picture` to `file`; false with libpng's reason in `failure`.
bool WritePicture(std::FILE* file, const PngPicture& picture, PngFailure& failure) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure, OnError, OnWarning);
  if (png == nullptr) {
    std::snprintf(failure.message, sizeof(failure.message), "out of memory");
    return false;
  }
  png_infop info = png_create_info_struct(png);
  if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file);
  png_set_IHDR(png, info, picture.width, picture.height, picture.bitDepth, PNG_COLOR_TYPE_RGB_ALPHA,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!picture.aspect.square()) {
    // Pixels a unit across and down: a pixel 10 wide and 11 high fits 11
    // across for every 10 down.
    png_set_pHYs(png, info, static_cast<png_uint_32>(picture.aspect.denominator),
                 static_cast<png_uint_32>(picture.aspect.numerator), PNG_RESOLUTION_UNKNOWN);
  }
  png_write_info(png, info);
  // 16-bit samples are big-endian in the file.
  if (picture.bitDepth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
  for (uint32_t y = 0; y < picture.height; ++y) {
    png_write_row(png, picture.data + static_cast<size_t>(y) * picture.rowBytes);
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return true;
}

void Write(const std::filesystem::path& path, const PngPicture& picture) {
  if (picture.width == 0 || picture.height == 0) {
    throw std::runtime_error("cannot write an empty picture to " + path.string());
  }
  if (picture.aspect.numerator <= 0 || picture.aspect.denominator <= 0) {
    throw std::invalid_argument("PngFile: the pixel aspect must be positive");
  }
  OutputFile output(path);
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(output.temporary().c_str(), "wb"), &std::fclose);
  if (!file) throw std::runtime_error("cannot write " + path.string() + ": " + std::strerror(errno));
  PngFailure failure;
  const bool written = WritePicture(file.get(), picture, failure);
  const bool closed = std::fclose(file.release()) == 0;
  if (!written) throw std::runtime_error("cannot write " + path.string() + ": " + failure.message);
  if (!closed) throw std::runtime_error("cannot write " + path.string() + ": " + std::strerror(errno));
  output.Commit();
}

[[noreturn]] void Fail(const char* what, const std::filesystem::path& path, const png_image& png) {
  throw std::runtime_error(std::string(what) + " " + path.string() + ": " + png.message);
}

}  // namespace

void PngFile::Write(const std::filesystem::path& path, const RgbaImage& image, PixelAspect aspect) {
  tetherhost::Write(path, {static_cast<uint32_t>(image.width()), static_cast<uint32_t>(image.height()), 8,
                           image.bytes().data(), static_cast<size_t>(image.width()) * 4, aspect});
}

void PngFile::Write(const std::filesystem::path& path, const Rgba16Image& image, PixelAspect aspect) {
  tetherhost::Write(path, {static_cast<uint32_t>(image.width()), static_cast<uint32_t>(image.height()), 16,
                           reinterpret_cast<const uint8_t*>(image.samples().data()),
                           static_cast<size_t>(image.width()) * 8, aspect});
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

PixelAspect PngFile::ReadPixelAspect(const std::filesystem::path& path) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) throw std::runtime_error("cannot read " + path.string() + ": " + std::strerror(errno));
  PngFailure failure;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &failure, OnError, OnWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  png_uint_32 across = 1;
  png_uint_32 down = 1;
  int unit = 0;
  if (png == nullptr || info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
    png_destroy_read_struct(&png, &info, nullptr);
    throw std::runtime_error("cannot read " + path.string() + ": " + failure.message);
  }
  png_init_io(png, file.get());
  png_read_info(png, info);
  const bool stated = png_get_pHYs(png, info, &across, &down, &unit) != 0 && across > 0 && down > 0;
  png_destroy_read_struct(&png, &info, nullptr);
  if (!stated) return {};
  return {static_cast<int32_t>(down), static_cast<int32_t>(across)};
}

}  // namespace tetherhost
