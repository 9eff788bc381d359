#include <kilncore/utility/Guid.h>

#include <cstring>
#include <random>

namespace kilncore::utility {
namespace {

constexpr size_t kTextLength = 36;
constexpr bool IsHyphenPosition(size_t i) { return i == 8 || i == 13 || i == 18 || i == 23; }

int HexValue(char32_t c) {
  if (c >= '0' && c <= '9') return static_cast<int>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<int>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<int>(c - 'A' + 10);
  return -1;
}

// Reads the text form into the 16 bytes of GuidToBytes order; false when the
// text is not exactly that form.
template <typename View>
bool ParseBytes(View text, uint8_t bytes[16]) {
  if (text.size() != kTextLength) return false;
  size_t out = 0;
  for (size_t i = 0; i < kTextLength;) {
    if (IsHyphenPosition(i)) {
      if (text[i] != '-') return false;
      ++i;
      continue;
    }
    const int high = HexValue(static_cast<char32_t>(text[i]));
    const int low = HexValue(static_cast<char32_t>(text[i + 1]));
    if (high < 0 || low < 0) return false;
    bytes[out++] = static_cast<uint8_t>(high << 4 | low);
    i += 2;
  }
  return out == 16;
}

template <typename String>
String FormatText(const Guid& guid) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  uint8_t bytes[16];
  Guid::GuidToBytes(guid, bytes);
  String text;
  text.reserve(kTextLength);
  for (size_t i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
    text.push_back(static_cast<typename String::value_type>(kDigits[bytes[i] >> 4]));
    text.push_back(static_cast<typename String::value_type>(kDigits[bytes[i] & 0xF]));
  }
  return text;
}

}  // namespace

Guid::Guid(std::u16string_view text) {
  uint8_t bytes[16];
  if (ParseBytes(text, bytes)) *this = FromBytes(bytes);
}

Guid::Guid(std::string_view text) {
  uint8_t bytes[16];
  if (ParseBytes(text, bytes)) *this = FromBytes(bytes);
}

namespace {

// Each thread's engine is seeded with 256 bits from the system, so that no two
// threads (or processes) are likely to start from the same state: a single
// 32-bit seed would make equal sequences a matter of 2^32 tries.
std::mt19937_64 MakeEngine() {
  std::random_device device;
  std::seed_seq seed{device(), device(), device(), device(),
                     device(), device(), device(), device()};
  return std::mt19937_64(seed);
}

}  // namespace

Guid Guid::CreateUnique() {
  thread_local std::mt19937_64 engine = MakeEngine();
  uint8_t bytes[16];
  const uint64_t high = engine();
  const uint64_t low = engine();
  std::memcpy(bytes, &high, 8);
  std::memcpy(bytes + 8, &low, 8);
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  return FromBytes(bytes);
}

void Guid::GuidToBytes(const Guid& guid, uint8_t bytes[16]) {
  bytes[0] = static_cast<uint8_t>(guid.Data1 >> 24);
  bytes[1] = static_cast<uint8_t>(guid.Data1 >> 16);
  bytes[2] = static_cast<uint8_t>(guid.Data1 >> 8);
  bytes[3] = static_cast<uint8_t>(guid.Data1);
  bytes[4] = static_cast<uint8_t>(guid.Data2 >> 8);
  bytes[5] = static_cast<uint8_t>(guid.Data2);
  bytes[6] = static_cast<uint8_t>(guid.Data3 >> 8);
  bytes[7] = static_cast<uint8_t>(guid.Data3);
  std::memcpy(bytes + 8, guid.Data4.data(), 8);
}

Guid Guid::FromBytes(const uint8_t bytes[16]) {
  Guid guid;
  guid.Data1 = static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
               static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
  guid.Data2 = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
  guid.Data3 = static_cast<uint16_t>(bytes[6] << 8 | bytes[7]);
  std::memcpy(guid.Data4.data(), bytes + 8, 8);
  return guid;
}

bool Guid::IsNil() const { return *this == Guid(); }

WideString Guid::AsString() const { return FormatText<WideString>(*this); }

std::string Guid::AsUTF8String() const { return FormatText<std::string>(*this); }

bool operator==(const Guid& a, const Guid& b) { return std::memcmp(&a, &b, sizeof(Guid)) == 0; }

std::strong_ordering operator<=>(const Guid& a, const Guid& b) {
  const int order = std::memcmp(&a, &b, sizeof(Guid));
  return order < 0 ? std::strong_ordering::less
                   : order > 0 ? std::strong_ordering::greater : std::strong_ordering::equal;
}

size_t GuidHash::operator()(const Guid& guid) const noexcept {
  uint64_t halves[2];
  std::memcpy(halves, &guid, sizeof(halves));
  return static_cast<size_t>(halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ull));
}

}  // namespace kilncore::utility
