#pragma once

#include <kilncore/string/WideString.h>

#include <compare>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace kilncore::utility {

// The host's interned string: an immutable UTF-8 text of which each distinct
// value is stored once per process.
//
// Copying takes a reference, and equality compares the shared storage, so both
// are cheap enough for identifiers that travel between threads (station
// identifiers, the names of remote assets). The storage of a text is released
// when its last ImmutableString goes away, so short-lived unique texts don't
// pile up. Interning is thread-safe.
//
// Ordering is by text (bytewise), so ordered containers of ImmutableString
// iterate in the same order in every run.
//
// Example:
//   ImmutableString a("Station-1");
//   ImmutableString b(std::string("Station-") + "1");
//   assert(a == b && a.SharesStorageWith(b));
class ImmutableString {
 public:
  // The empty text.
  ImmutableString() = default;

  // Interns UTF-8 text.
  explicit ImmutableString(std::string_view utf8);
  explicit ImmutableString(const std::string& utf8) : ImmutableString(std::string_view(utf8)) {}
  explicit ImmutableString(const char* utf8) : ImmutableString(std::string_view(utf8)) {}

  // Interns UTF-16 text, converted to UTF-8 (unpaired surrogates become
  // U+FFFD).
  explicit ImmutableString(WideStringView text);
  explicit ImmutableString(const WideString& text) : ImmutableString(WideStringView(text)) {}
  explicit ImmutableString(const char16_t* text) : ImmutableString(WideStringView(text)) {}

  bool empty() const noexcept { return mEntry == nullptr; }
  size_t size() const noexcept;

  // The UTF-8 text. The reference stays valid while this object lives.
  const std::string& AsUTF8() const noexcept;
  // A null-terminated UTF-8 pointer, valid while this object lives.
  const char* c_str() const noexcept { return AsUTF8().c_str(); }
  std::string_view view() const noexcept { return AsUTF8(); }
  // The text as UTF-16.
  WideString AsWide() const;

  // True when both name one stored text. For two ImmutableStrings that is the
  // same as equality; it is here so that tests can see the interning.
  bool SharesStorageWith(const ImmutableString& other) const noexcept {
    return mEntry == other.mEntry;
  }

  // A hash of the text, computed once when the text was interned.
  size_t Hash() const noexcept;

  friend bool operator==(const ImmutableString& a, const ImmutableString& b) noexcept {
    return a.mEntry == b.mEntry;
  }
  friend std::strong_ordering operator<=>(const ImmutableString& a,
                                          const ImmutableString& b) noexcept;

  struct Entry;

 private:
  std::shared_ptr<const Entry> mEntry;
};

}  // namespace kilncore::utility

template <>
struct std::hash<kilncore::utility::ImmutableString> {
  size_t operator()(const kilncore::utility::ImmutableString& text) const noexcept {
    return text.Hash();
  }
};
