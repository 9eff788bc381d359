#include "host/output/Y4mWriter.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace tetherhost {
namespace {

// BT.709 luma weights.
constexpr double kRed = 0.2126;
constexpr double kBlue = 0.0722;
constexpr double kGreen = 1.0 - kRed - kBlue;

uint8_t Clamped(double value) { return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L)); }

struct Yuv {
  double y;
  double cb;
  double cr;
};

// A straight pixel over black, as Y'CbCr at limited range (16-235, 16-240).
Yuv ToYuv(const uint8_t* pixel) {
  const double alpha = pixel[3] / 255.0;
  const double r = pixel[0] / 255.0 * alpha;
  const double g = pixel[1] / 255.0 * alpha;
  const double b = pixel[2] / 255.0 * alpha;
  const double luma = kRed * r + kGreen * g + kBlue * b;
  return {16.0 + 219.0 * luma, 128.0 + 224.0 * (b - luma) / (2.0 * (1.0 - kBlue)),
          128.0 + 224.0 * (r - luma) / (2.0 * (1.0 - kRed))};
}

char Interlacing(int32_t fieldType) {
  switch (fieldType) {
    case 1: return 't';
    case 2: return 'b';
    default: return 'p';
  }
}

}  // namespace

std::string Y4mWriter::Header(const Y4mFormat& format) {
  return "YUV4MPEG2 W" + std::to_string(format.width) + " H" + std::to_string(format.height) + " F" +
         std::to_string(format.rateNumerator) + ":" + std::to_string(format.rateDenominator) + " I" +
         Interlacing(format.fieldType) + " A" + std::to_string(format.aspectNumerator) + ":" +
         std::to_string(format.aspectDenominator) + " C420jpeg XCOLORRANGE=LIMITED";
}

Y4mWriter::Y4mWriter(std::FILE* out, const Y4mFormat& format) : mOut(out, "the YUV4MPEG2 stream"), mFormat(format) {
  if (format.width <= 0 || format.height <= 0 || format.rateNumerator <= 0 || format.rateDenominator <= 0 ||
      format.aspectNumerator <= 0 || format.aspectDenominator <= 0) {
    throw std::invalid_argument("Y4mWriter: size, rate and aspect must be positive");
  }
  const std::string header = Header(format) + "\n";
  mOut.Put(header.data(), header.size());
}

void Y4mWriter::Write(const RgbaImage& frame) {
  if (frame.width() != mFormat.width || frame.height() != mFormat.height) {
    throw std::invalid_argument("Y4mWriter: a frame of another size than the stream's");
  }
  const size_t width = static_cast<size_t>(mFormat.width);
  const size_t height = static_cast<size_t>(mFormat.height);
  const size_t chromaWidth = (width + 1) / 2;
  const size_t chromaHeight = (height + 1) / 2;
  mPlanes.assign(width * height + 2 * chromaWidth * chromaHeight, 0);
  uint8_t* luma = mPlanes.data();
  uint8_t* cb = luma + width * height;
  uint8_t* cr = cb + chromaWidth * chromaHeight;
  for (size_t cy = 0; cy < chromaHeight; ++cy) {
    for (size_t cx = 0; cx < chromaWidth; ++cx) {
      // Each chroma sample is the mean of the 2 x 2 (or fewer, at an odd
      // edge) pixels it covers.
      double sumCb = 0.0;
      double sumCr = 0.0;
      int count = 0;
      for (size_t y = cy * 2; y < std::min(cy * 2 + 2, height); ++y) {
        for (size_t x = cx * 2; x < std::min(cx * 2 + 2, width); ++x) {
          const Yuv yuv = ToYuv(frame.PixelAt(static_cast<int32_t>(x), static_cast<int32_t>(y)));
          luma[y * width + x] = Clamped(yuv.y);
          sumCb += yuv.cb;
          sumCr += yuv.cr;
          ++count;
        }
      }
      cb[cy * chromaWidth + cx] = Clamped(sumCb / count);
      cr[cy * chromaWidth + cx] = Clamped(sumCr / count);
    }
  }
  static constexpr char kFrame[] = "FRAME\n";
  mOut.Put(kFrame, sizeof(kFrame) - 1);
  mOut.Put(mPlanes.data(), mPlanes.size());
  ++mFrames;
}

}  // namespace tetherhost
