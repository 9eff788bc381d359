#pragma once

#include "host/output/ByteStream.h"
#include "host/output/RgbaImage.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace tetherhost {

// What a YUV4MPEG2 stream states in its header.
struct Y4mFormat {
  int32_t width = 0;
  int32_t height = 0;
  // Frames per second as a fraction (30000:1001).
  int64_t rateNumerator = 25;
  int64_t rateDenominator = 1;
  // Pixel width : height.
  int32_t aspectNumerator = 1;
  int32_t aspectDenominator = 1;
  // The host's field type: 0 progressive, 1 upper field first, 2 lower.
  int32_t fieldType = 0;
};

// Writes frames as a YUV4MPEG2 stream (what ffmpeg, x264 and others read from
// a pipe): 4:2:0 chroma ("C420jpeg", sited between the luma samples), BT.709
// coefficients at limited range, which the header states with
// XCOLORRANGE=LIMITED. Frames are straight RGBA pictures; the stream has no
// alpha, so each is composed over black.
class Y4mWriter {
 public:
  // Writes the header to `out` (not owned). Throws std::invalid_argument for a
  // size, rate or aspect that isn't positive.
  Y4mWriter(std::FILE* out, const Y4mFormat& format);

  // Appends one frame. Throws std::invalid_argument for a picture of another
  // size, std::runtime_error when the stream can't be written (a closed pipe).
  void Write(const RgbaImage& frame);

  int64_t framesWritten() const { return mFrames; }

  // The header line, without its line end.
  static std::string Header(const Y4mFormat& format);

 private:
  ByteStream mOut;
  Y4mFormat mFormat;
  int64_t mFrames = 0;
  std::vector<uint8_t> mPlanes;
};

}  // namespace tetherhost
