#pragma once

#include "host/output/ByteStream.h"
#include "host/output/Rgba16Image.h"
#include "host/output/RgbaImage.h"

#include <cstdio>
#include <string>

namespace tetherhost {

// Writes frames one after another with nothing between them, in the layout of
// the pictures (straight RGBA, 8 or 16 bits a channel, 16-bit samples in the
// machine's order, little-endian here); the reader must be told the layout,
// which PixelFormatName gives in ffmpeg's words.
class RawFrameWriter {
 public:
  // `out` is not owned.
  explicit RawFrameWriter(std::FILE* out);

  // Append one frame. Throw std::runtime_error when the stream can't be written.
  void Write(const RgbaImage& frame);
  void Write(const Rgba16Image& frame);

  // ffmpeg's -pix_fmt for frames of 8 or 16 bits a channel: "rgba" or "rgba64le".
  static std::string PixelFormatName(bool deep);

 private:
  ByteStream mOut;
};

}  // namespace tetherhost
