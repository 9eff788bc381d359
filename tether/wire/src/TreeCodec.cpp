#include <tether/wire/TreeCodec.h>

#include "MsgpackTree.h"

#include <tether/wire/Protocol.h>
#include <tether/wire/WireError.h>

#include <cstdint>
#include <string>

namespace tether::wire {
namespace detail {
namespace {

template <class T>
bool PackIf(msgpack::packer<msgpack::sbuffer>& packer, const std::any& value) {
  if (const T* typed = std::any_cast<T>(&value)) {
    packer.pack(*typed);
    return true;
  }
  return false;
}

bool PackScalar(msgpack::packer<msgpack::sbuffer>& packer, const std::any& value) {
  return PackIf<std::string>(packer, value) || PackIf<bool>(packer, value) ||
         PackIf<int>(packer, value) || PackIf<unsigned>(packer, value) ||
         PackIf<long>(packer, value) || PackIf<unsigned long>(packer, value) ||
         PackIf<long long>(packer, value) || PackIf<unsigned long long>(packer, value) ||
         PackIf<short>(packer, value) || PackIf<unsigned short>(packer, value) ||
         PackIf<signed char>(packer, value) || PackIf<unsigned char>(packer, value) ||
         PackIf<double>(packer, value) || PackIf<float>(packer, value);
}

}  // namespace

void PackTree(msgpack::packer<msgpack::sbuffer>& packer, const AnyValue& value) {
  if (!value || !value->has_value()) {
    packer.pack_nil();
    return;
  }
  if (const auto* object = std::any_cast<AnyObject>(value.get())) {
    packer.pack_map(static_cast<uint32_t>(object->size()));
    for (const auto& [key, child] : *object) {
      packer.pack(key);
      PackTree(packer, child);
    }
    return;
  }
  if (const auto* array = std::any_cast<AnyArray>(value.get())) {
    packer.pack_array(static_cast<uint32_t>(array->size()));
    for (const auto& child : *array) {
      PackTree(packer, child);
    }
    return;
  }
  if (const auto* text = std::any_cast<const char*>(value.get())) {
    packer.pack(std::string(*text ? *text : ""));
    return;
  }
  if (!PackScalar(packer, *value)) {
    throw WireError(std::string("value tree holds a type the wire can't carry: ") + value->type().name());
  }
}

AnyValue UnpackTree(const msgpack::object& object, size_t depth) {
  if (depth > kMaxTreeDepth) {
    throw WireError("value tree nested too deeply");
  }
  switch (object.type) {
    case msgpack::type::NIL:
      return std::make_shared<std::any>();
    case msgpack::type::BOOLEAN:
      return MakeAny(object.via.boolean);
    case msgpack::type::POSITIVE_INTEGER:
      return MakeAny(static_cast<uint64_t>(object.via.u64));
    case msgpack::type::NEGATIVE_INTEGER:
      return MakeAny(static_cast<int64_t>(object.via.i64));
    case msgpack::type::FLOAT32:
    case msgpack::type::FLOAT64:
      return MakeAny(object.via.f64);
    case msgpack::type::STR:
      return MakeAny(std::string(object.via.str.ptr, object.via.str.size));
    case msgpack::type::ARRAY: {
      AnyArray array;
      array.reserve(object.via.array.size);
      for (uint32_t i = 0; i < object.via.array.size; ++i) {
        array.push_back(UnpackTree(object.via.array.ptr[i], depth + 1));
      }
      return MakeAny(std::move(array));
    }
    case msgpack::type::MAP: {
      AnyObject map;
      for (uint32_t i = 0; i < object.via.map.size; ++i) {
        const auto& entry = object.via.map.ptr[i];
        if (entry.key.type != msgpack::type::STR) {
          throw WireError("object key that isn't a string");
        }
        std::string key(entry.key.via.str.ptr, entry.key.via.str.size);
        if (!map.emplace(std::move(key), UnpackTree(entry.val, depth + 1)).second) {
          throw WireError("object with a repeated key");
        }
      }
      return MakeAny(std::move(map));
    }
    default:
      throw WireError("value of a type the trees don't hold");
  }
}

msgpack::object_handle UnpackWhole(std::string_view bytes) {
  size_t offset = 0;
  bool referenced = false;
  msgpack::unpack_limit limit(kMaxContainerElements, kMaxContainerElements, kMaxBodyBytes, 0, 0,
                              kMaxTreeDepth + 2);
  msgpack::object_handle handle;
  try {
    handle = msgpack::unpack(bytes.data(), bytes.size(), offset, referenced, nullptr, nullptr, limit);
  } catch (const std::exception& error) {
    throw WireError(std::string("malformed msgpack: ") + error.what());
  }
  if (offset != bytes.size()) {
    throw WireError("bytes after the end of the message");
  }
  return handle;
}

}  // namespace detail

std::string EncodeTree(const AnyValue& value) {
  msgpack::sbuffer buffer;
  msgpack::packer<msgpack::sbuffer> packer(buffer);
  detail::PackTree(packer, value);
  return std::string(buffer.data(), buffer.size());
}

AnyValue DecodeTree(std::string_view bytes) {
  auto handle = detail::UnpackWhole(bytes);
  return detail::UnpackTree(handle.get(), 0);
}

}  // namespace tether::wire
