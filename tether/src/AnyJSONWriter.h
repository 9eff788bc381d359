#pragma once

#include <tether/AnyTree.h>

#include <rapidjson/rapidjson.h>

#include <any>
#include <cmath>
#include <cstdint>
#include <string>
#include <typeinfo>

namespace tether::detail {

// Writes a JSON number, or null for one that JSON can't hold.
template <class Writer>
void WriteDouble(Writer& writer, double value) {
  if (std::isfinite(value)) {
    writer.Double(value);
  } else {
    writer.Null();
  }
}

// Writes a value tree (AnyTree.h) through a RapidJSON writer whose source
// encoding is UTF-8. Throws std::bad_any_cast for a type that the trees don't
// hold.
template <class Writer>
void WriteAnyTree(Writer& writer, const AnyValue& value) {
  if (!value || !value->has_value()) {
    writer.Null();
    return;
  }
  const std::any& any = *value;
  if (const auto* object = std::any_cast<AnyObject>(&any)) {
    writer.StartObject();
    for (const auto& [key, member] : *object) {
      writer.Key(key.c_str(), static_cast<rapidjson::SizeType>(key.size()));
      WriteAnyTree(writer, member);
    }
    writer.EndObject();
  } else if (const auto* array = std::any_cast<AnyArray>(&any)) {
    writer.StartArray();
    for (const auto& element : *array) {
      WriteAnyTree(writer, element);
    }
    writer.EndArray();
  } else if (const auto* text = std::any_cast<std::string>(&any)) {
    writer.String(text->c_str(), static_cast<rapidjson::SizeType>(text->size()));
  } else if (const auto* flag = std::any_cast<bool>(&any)) {
    writer.Bool(*flag);
  } else if (const auto* i = std::any_cast<int>(&any)) {
    writer.Int(*i);
  } else if (const auto* u = std::any_cast<unsigned>(&any)) {
    writer.Uint(*u);
  } else if (const auto* i64 = std::any_cast<int64_t>(&any)) {
    writer.Int64(*i64);
  } else if (const auto* u64 = std::any_cast<uint64_t>(&any)) {
    writer.Uint64(*u64);
  } else if (const auto* d = std::any_cast<double>(&any)) {
    WriteDouble(writer, *d);
  } else {
    throw std::bad_any_cast();
  }
}

}  // namespace tether::detail
