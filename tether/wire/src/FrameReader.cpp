#include <tether/wire/FrameReader.h>

#include <tether/wire/Protocol.h>
#include <tether/wire/WireError.h>

namespace tether::wire {
namespace {

void PutLE(std::string& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  }
}

uint64_t GetLE(std::string_view in, size_t offset, int bytes) {
  uint64_t value = 0;
  for (int i = 0; i < bytes; ++i) {
    value |= static_cast<uint64_t>(static_cast<unsigned char>(in[offset + i])) << (8 * i);
  }
  return value;
}

void CheckLimits(uint64_t bodyLength, uint64_t fdCount) {
  if (bodyLength > kMaxBodyBytes) {
    throw WireError("frame body of " + std::to_string(bodyLength) + " bytes exceeds the limit");
  }
  if (fdCount > kMaxFdsPerFrame) {
    throw WireError("frame with " + std::to_string(fdCount) + " descriptors exceeds the limit");
  }
}

}  // namespace

std::string FrameHeader::Encode() const {
  CheckLimits(bodyLength, fdCount);
  std::string out;
  out.reserve(kFrameHeaderSize);
  PutLE(out, kFrameMagic, 4);
  PutLE(out, bodyLength, 4);
  PutLE(out, fdCount, 2);
  PutLE(out, 0, 2);
  return out;
}

FrameHeader FrameHeader::Decode(std::string_view bytes) {
  if (bytes.size() < kFrameHeaderSize) {
    throw WireError("truncated frame header");
  }
  if (GetLE(bytes, 0, 4) != kFrameMagic) {
    throw WireError("frame without the protocol's magic");
  }
  FrameHeader header;
  uint64_t length = GetLE(bytes, 4, 4);
  uint64_t fds = GetLE(bytes, 8, 2);
  CheckLimits(length, fds);
  if (GetLE(bytes, 10, 2) != 0) {
    throw WireError("frame with unknown flags");
  }
  header.bodyLength = static_cast<uint32_t>(length);
  header.fdCount = static_cast<uint16_t>(fds);
  return header;
}

std::string EncodeFrame(std::string_view body, uint16_t fdCount) {
  if (body.size() > kMaxBodyBytes) {
    throw WireError("message too large for one frame");
  }
  FrameHeader header{static_cast<uint32_t>(body.size()), fdCount};
  std::string out = header.Encode();
  out.append(body);
  return out;
}

void FrameReader::Append(std::string_view bytes) {
  // Drop what was consumed before growing, so the buffer holds at most one
  // frame and what came behind it.
  if (mOffset > 0 && mOffset == mBuffer.size()) {
    mBuffer.clear();
    mOffset = 0;
  } else if (mOffset > (64u << 10)) {
    mBuffer.erase(0, mOffset);
    mOffset = 0;
  }
  mBuffer.append(bytes);
}

std::optional<Frame> FrameReader::Next() {
  if (mBroken) {
    throw WireError("stream out of step after an earlier error");
  }
  std::string_view pending(mBuffer.data() + mOffset, mBuffer.size() - mOffset);
  if (pending.size() < kFrameHeaderSize) {
    return std::nullopt;
  }
  FrameHeader header;
  try {
    header = FrameHeader::Decode(pending);
  } catch (...) {
    mBroken = true;
    throw;
  }
  size_t total = kFrameHeaderSize + header.bodyLength;
  if (pending.size() < total) {
    return std::nullopt;
  }
  Frame frame{std::string(pending.substr(kFrameHeaderSize, header.bodyLength)), header.fdCount};
  mOffset += total;
  return frame;
}

}  // namespace tether::wire
