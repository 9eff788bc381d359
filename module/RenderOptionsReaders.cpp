#include <module/RenderOptionsReaders.h>

#include <cstdint>

namespace TetherMedia {
namespace {

// The two integer forms that a parsed tree holds. False if `value` is neither.
bool ReadParsedInteger(const std::any& value, uint64_t& bits) {
  if (const auto* unsignedValue = std::any_cast<uint64_t>(&value)) {
    bits = *unsignedValue;
    return true;
  }
  if (const auto* signedValue = std::any_cast<int64_t>(&value)) {
    bits = static_cast<uint64_t>(*signedValue);
    return true;
  }
  return false;
}

uint64_t ReadIntegerBits(const std::any& value) {
  uint64_t bits = 0;
  if (!value.has_value()) return 0;
  if (!ReadParsedInteger(value, bits)) throw std::bad_any_cast();
  return bits;
}

}  // namespace

bool ReadBoolVariant(const std::any& value) {
  if (!value.has_value()) return false;
  if (const auto* flag = std::any_cast<bool>(&value)) return *flag;
  if (const auto* number = std::any_cast<int>(&value)) return *number != 0;
  const auto& text = std::any_cast<const std::string&>(value);
  if (text == "true") return true;
  if (text == "false") return false;
  throw std::bad_any_cast();
}

bool ReadBoolVariant(const kilncore::serialization::JSONValuePtr& value) {
  return value ? ReadBoolVariant(*value) : false;
}

uint32_t ReadIntegerVariant(const std::any& value) {
  return static_cast<uint32_t>(ReadIntegerBits(value));
}

uint32_t ReadIntegerVariant(const kilncore::serialization::JSONValuePtr& value) {
  return value ? ReadIntegerVariant(*value) : 0;
}

int64_t ReadInt64Variant(const std::any& value) {
  return static_cast<int64_t>(ReadIntegerBits(value));
}

int64_t ReadInt64Variant(const kilncore::serialization::JSONValuePtr& value) {
  return value ? ReadInt64Variant(*value) : 0;
}

double ReadNumberVariant(const std::any& value) {
  if (!value.has_value()) return 0.0;
  if (const auto* unsignedValue = std::any_cast<uint64_t>(&value)) {
    return static_cast<double>(*unsignedValue);
  }
  if (const auto* signedValue = std::any_cast<int64_t>(&value)) {
    return static_cast<double>(*signedValue);
  }
  return std::any_cast<double>(value);
}

double ReadNumberVariant(const kilncore::serialization::JSONValuePtr& value) {
  return value ? ReadNumberVariant(*value) : 0.0;
}

std::vector<uint8_t> ReadByteArrayVariant(const std::any& value) {
  std::vector<uint8_t> bytes;
  if (!value.has_value()) return bytes;
  const auto& elements = std::any_cast<const kilncore::serialization::JSONArray&>(value);
  bytes.reserve(elements.size());
  for (const auto& element : elements) {
    uint64_t bits = 0;
    if (!element || !ReadParsedInteger(*element, bits)) throw std::bad_any_cast();
    bytes.push_back(static_cast<uint8_t>(bits));
  }
  return bytes;
}

std::vector<uint8_t> ReadByteArrayVariant(const kilncore::serialization::JSONValuePtr& value) {
  return value ? ReadByteArrayVariant(*value) : std::vector<uint8_t>();
}

}  // namespace TetherMedia
