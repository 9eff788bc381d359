#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tether::wire {

// One complete frame: its body bytes and how many descriptors travelled with it.
struct Frame {
  std::string body;
  uint16_t fdCount = 0;
};

// The fixed header in front of every body.
struct FrameHeader {
  uint32_t bodyLength = 0;
  uint16_t fdCount = 0;

  // The 12 header bytes (little-endian), after checking the limits.
  std::string Encode() const;
  // Reads and checks a header; throws WireError for a wrong magic, a body or a
  // descriptor count beyond the limits, or flags this version doesn't know.
  static FrameHeader Decode(std::string_view bytes);
};

// Header and body as one byte string, ready to send. Throws WireError for a body
// or descriptor count beyond the limits.
std::string EncodeFrame(std::string_view body, uint16_t fdCount);

// Cuts a byte stream into frames. Bytes come in as they arrive, in any pieces;
// frames come out whole. A header that breaks the limits throws WireError, and
// the reader stays broken: a stream out of step can't be trusted again.
class FrameReader {
 public:
  void Append(std::string_view bytes);
  // The next complete frame, if all of it has arrived.
  std::optional<Frame> Next();
  // Bytes received that don't make a complete frame yet.
  size_t Buffered() const { return mBuffer.size() - mOffset; }

 private:
  std::string mBuffer;
  size_t mOffset = 0;
  bool mBroken = false;
};

}  // namespace tether::wire
