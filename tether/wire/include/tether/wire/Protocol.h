#pragma once

#include <cstddef>
#include <cstdint>

// Constants of the client-server wire (docs/protocol.md describes the whole
// protocol).
namespace tether::wire {

// The protocol version that both sides state in the handshake. A peer that
// speaks another version is refused.
inline constexpr uint32_t kProtocolVersion = 1;

// The four bytes that open every frame: "TTHW".
inline constexpr uint32_t kFrameMagic = 0x57485454;
// magic (4), body length (4), descriptor count (2), flags (2).
inline constexpr size_t kFrameHeaderSize = 12;
// Bodies carry descriptions and trees, never pixels: anything larger is an
// error of the peer.
inline constexpr uint32_t kMaxBodyBytes = 8u << 20;
inline constexpr uint16_t kMaxFdsPerFrame = 4;

// Limits applied while decoding a body, so that a hostile length field can't
// make the decoder allocate much more than the body's own size.
inline constexpr size_t kMaxTreeDepth = 32;
inline constexpr size_t kMaxContainerElements = 1u << 16;

// Message kinds, the first element of every body.
enum class MessageKind : uint8_t {
  kRequest = 1,  // expects one kReply with the same id
  kReply = 2,
  kNotice = 3,   // one-way, no reply (releases, cancels, progress, pings)
};

// Status codes carried by replies. Any non-zero value is a failure; these are
// the ones the reference server and the client produce themselves.
inline constexpr int32_t kStatusOK = 0;
inline constexpr int32_t kStatusFailed = 1;
inline constexpr int32_t kStatusServerUnavailable = 3;
inline constexpr int32_t kStatusNotFound = 4;
inline constexpr int32_t kStatusNotSupported = 5;
inline constexpr int32_t kStatusBadMessage = 6;
// A frame larger than the client maps (the limit it states in "hello"): the
// server refuses it before allocating anything for it.
inline constexpr int32_t kStatusTooLarge = 7;
// A request that the server doesn't hold although it has read everything the
// client sent before a ping: lost on the way, it would never be answered.
inline constexpr int32_t kStatusRequestLost = 8;
// The answer to a video render that the client cancelled before the server
// could deliver it. Negative so that it can't be mistaken for a server's
// failure: a client that cancelled a frame expects exactly this value back.
inline constexpr int32_t kStatusRenderCancelled = -6;

}  // namespace tether::wire
