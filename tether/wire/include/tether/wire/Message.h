#pragma once

#include <tether/AnyTree.h>
#include <tether/wire/Protocol.h>
#include <tether/wire/UniqueFd.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tether::wire {

// One message of the protocol: a request, its reply, or a one-way notice.
//
// On the wire the body is a msgpack array [kind, id, op, status, tree]; the
// descriptors travel beside the bytes of the same frame.
struct Message {
  MessageKind kind = MessageKind::kNotice;
  // A request's number, echoed by its reply; 0 for notices.
  uint64_t id = 0;
  // The operation ("source.render-video", ...); empty in replies.
  std::string op;
  // 0 or a failure code; requests and notices carry 0.
  int32_t status = kStatusOK;
  AnyValue body;
  std::vector<UniqueFd> fds;
};

// The body bytes of `message` (without its descriptors). Throws WireError.
std::string EncodeMessage(const Message& message);

// Reads a body. The descriptors are not part of it: the caller attaches those
// that came with the frame. Throws WireError for anything malformed.
Message DecodeMessage(std::string_view body);

}  // namespace tether::wire
