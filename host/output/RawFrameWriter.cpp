#include "host/output/RawFrameWriter.h"

#include <bit>

namespace tetherhost {

RawFrameWriter::RawFrameWriter(std::FILE* out) : mOut(out, "the raw frame stream") {}

void RawFrameWriter::Write(const RgbaImage& frame) { mOut.Put(frame.bytes().data(), frame.bytes().size()); }

void RawFrameWriter::Write(const Rgba16Image& frame) {
  mOut.Put(frame.samples().data(), frame.samples().size() * sizeof(uint16_t));
}

std::string RawFrameWriter::PixelFormatName(bool deep) {
  if (!deep) return "rgba";
  return std::endian::native == std::endian::little ? "rgba64le" : "rgba64be";
}

}  // namespace tetherhost
