#include <tether/wire/Message.h>

#include "MsgpackTree.h"

#include <tether/wire/WireError.h>

#include <limits>

namespace tether::wire {

std::string EncodeMessage(const Message& message) {
  msgpack::sbuffer buffer;
  msgpack::packer<msgpack::sbuffer> packer(buffer);
  packer.pack_array(5);
  packer.pack(static_cast<uint8_t>(message.kind));
  packer.pack(message.id);
  packer.pack(message.op);
  packer.pack(message.status);
  detail::PackTree(packer, message.body);
  return std::string(buffer.data(), buffer.size());
}

Message DecodeMessage(std::string_view body) {
  auto handle = detail::UnpackWhole(body);
  const msgpack::object& root = handle.get();
  if (root.type != msgpack::type::ARRAY || root.via.array.size != 5) {
    throw WireError("message isn't an array of five");
  }
  const msgpack::object* parts = root.via.array.ptr;
  if (parts[0].type != msgpack::type::POSITIVE_INTEGER || parts[0].via.u64 < 1 || parts[0].via.u64 > 3) {
    throw WireError("message of an unknown kind");
  }
  if (parts[1].type != msgpack::type::POSITIVE_INTEGER) {
    throw WireError("message number isn't an unsigned integer");
  }
  if (parts[2].type != msgpack::type::STR) {
    throw WireError("operation isn't a string");
  }
  Message message;
  message.kind = static_cast<MessageKind>(parts[0].via.u64);
  message.id = parts[1].via.u64;
  message.op.assign(parts[2].via.str.ptr, parts[2].via.str.size);
  if (parts[3].type == msgpack::type::POSITIVE_INTEGER &&
      parts[3].via.u64 <= static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
    message.status = static_cast<int32_t>(parts[3].via.u64);
  } else if (parts[3].type == msgpack::type::NEGATIVE_INTEGER &&
             parts[3].via.i64 >= std::numeric_limits<int32_t>::min()) {
    message.status = static_cast<int32_t>(parts[3].via.i64);
  } else {
    throw WireError("status isn't a 32-bit integer");
  }
  message.body = detail::UnpackTree(parts[4], 0);
  return message;
}

}  // namespace tether::wire
