#include <tether/wire/TreeAccess.h>

#include <tether/wire/WireError.h>

#include <limits>

namespace tether::wire {
namespace {

template <class T>
const T& Expect(const AnyValue& value, const char* what) {
  const T* typed = value ? std::any_cast<T>(value.get()) : nullptr;
  if (!typed) {
    throw WireError(std::string("expected ") + what);
  }
  return *typed;
}

// Any integer that a tree may hold, widened; false if it isn't one.
bool Widen(const AnyValue& value, bool& negative, uint64_t& magnitude) {
  if (!value) {
    return false;
  }
  auto take = [&](auto v) {
    using V = decltype(v);
    if constexpr (std::is_signed_v<V>) {
      negative = v < 0;
      magnitude = negative ? uint64_t{0} - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
    } else {
      negative = false;
      magnitude = static_cast<uint64_t>(v);
    }
    return true;
  };
  const std::any& any = *value;
  if (auto p = std::any_cast<uint64_t>(&any)) return take(*p);
  if (auto p = std::any_cast<int64_t>(&any)) return take(*p);
  if (auto p = std::any_cast<int>(&any)) return take(*p);
  if (auto p = std::any_cast<unsigned>(&any)) return take(*p);
  if (auto p = std::any_cast<long long>(&any)) return take(*p);
  if (auto p = std::any_cast<unsigned long long>(&any)) return take(*p);
  return false;
}

}  // namespace

const AnyObject& AsObject(const AnyValue& value) { return Expect<AnyObject>(value, "an object"); }
const AnyArray& AsArray(const AnyValue& value) { return Expect<AnyArray>(value, "an array"); }
const std::string& AsString(const AnyValue& value) { return Expect<std::string>(value, "a string"); }
bool AsBool(const AnyValue& value) { return Expect<bool>(value, "a bool"); }

int64_t AsInt64(const AnyValue& value) {
  bool negative = false;
  uint64_t magnitude = 0;
  if (!Widen(value, negative, magnitude)) {
    throw WireError("expected an integer");
  }
  if (negative) {
    if (magnitude > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) + 1) {
      throw WireError("integer out of range");
    }
    return static_cast<int64_t>(0 - magnitude);
  }
  if (magnitude > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
    throw WireError("integer out of range");
  }
  return static_cast<int64_t>(magnitude);
}

uint64_t AsUint64(const AnyValue& value) {
  bool negative = false;
  uint64_t magnitude = 0;
  if (!Widen(value, negative, magnitude)) {
    throw WireError("expected an integer");
  }
  if (negative && magnitude != 0) {
    throw WireError("expected an unsigned integer");
  }
  return magnitude;
}

int32_t AsInt32(const AnyValue& value) {
  int64_t wide = AsInt64(value);
  if (wide < std::numeric_limits<int32_t>::min() || wide > std::numeric_limits<int32_t>::max()) {
    throw WireError("integer out of 32-bit range");
  }
  return static_cast<int32_t>(wide);
}

uint32_t AsUint32(const AnyValue& value) {
  uint64_t wide = AsUint64(value);
  if (wide > std::numeric_limits<uint32_t>::max()) {
    throw WireError("integer out of 32-bit range");
  }
  return static_cast<uint32_t>(wide);
}

double AsDouble(const AnyValue& value) {
  if (value) {
    if (auto p = std::any_cast<double>(value.get())) return *p;
    if (auto p = std::any_cast<float>(value.get())) return *p;
  }
  bool negative = false;
  uint64_t magnitude = 0;
  if (!Widen(value, negative, magnitude)) {
    throw WireError("expected a number");
  }
  double result = static_cast<double>(magnitude);
  return negative ? -result : result;
}

const AnyValue& Field(const AnyObject& object, const char* key) {
  auto it = object.find(key);
  if (it == object.end()) {
    throw WireError(std::string("missing member \"") + key + "\"");
  }
  return it->second;
}

AnyValue OptionalField(const AnyObject& object, const char* key) {
  auto it = object.find(key);
  return it == object.end() ? nullptr : it->second;
}

}  // namespace tether::wire
