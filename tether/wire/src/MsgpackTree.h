#pragma once

#include <tether/AnyTree.h>

#include <msgpack.hpp>

#include <cstddef>
#include <string_view>

// The msgpack-level halves of the tree codec, shared by the message codec.
namespace tether::wire::detail {

void PackTree(msgpack::packer<msgpack::sbuffer>& packer, const AnyValue& value);
AnyValue UnpackTree(const msgpack::object& object, size_t depth);

// Unpacks exactly one object filling all of `bytes`, within the protocol's
// limits. Throws WireError.
msgpack::object_handle UnpackWhole(std::string_view bytes);

}  // namespace tether::wire::detail
