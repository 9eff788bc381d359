#pragma once

#include <kilncore/string/WideString.h>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kilncore::utility {

// A 16-byte identifier with a 36-character text form (8-4-4-4-12 hexadecimal
// digits). The nil Guid, all zero, means that no value is set.
//
// The fields follow the host's layout: Data1 (32-bit), Data2 and Data3 (16-bit)
// and Data4 (8 bytes). The object's own bytes are therefore in the machine's
// order, while GuidToBytes() gives the order of the text form.
struct Guid {
  uint32_t Data1 = 0;
  uint16_t Data2 = 0;
  uint16_t Data3 = 0;
  std::array<uint8_t, 8> Data4{};

  constexpr Guid() = default;
  constexpr Guid(uint32_t data1, uint16_t data2, uint16_t data3,
                 const std::array<uint8_t, 8>& data4)
      : Data1(data1), Data2(data2), Data3(data3), Data4(data4) {}

  // Parses the 8-4-4-4-12 form; hexadecimal digits may be of either case. Text
  // that is not exactly that form gives the nil Guid.
  explicit Guid(std::u16string_view text);
  explicit Guid(std::string_view text);
  // A null pointer gives the nil Guid.
  explicit Guid(const char* text) : Guid(text ? std::string_view(text) : std::string_view()) {}
  explicit Guid(const char16_t* text)
      : Guid(text ? std::u16string_view(text) : std::u16string_view()) {}

  // A fresh random identifier (version 4).
  static Guid CreateUnique();

  // The 16 bytes in the order of the text form (Data1..Data3 big-endian).
  static void GuidToBytes(const Guid& guid, uint8_t bytes[16]);
  static Guid FromBytes(const uint8_t bytes[16]);

  bool IsNil() const;

  // Upper-case hexadecimal in the 8-4-4-4-12 form.
  WideString AsString() const;
  std::string AsUTF8String() const;

  friend bool operator==(const Guid& a, const Guid& b);
  // Orders by the object's raw bytes, as the host's tables do with memcmp.
  friend std::strong_ordering operator<=>(const Guid& a, const Guid& b);
};

static_assert(sizeof(Guid) == 16, "Guid must be 16 bytes with no padding");

// Hashes a Guid for unordered containers.
struct GuidHash {
  size_t operator()(const Guid& guid) const noexcept;
};

}  // namespace kilncore::utility

template <>
struct std::hash<kilncore::utility::Guid> : kilncore::utility::GuidHash {};
