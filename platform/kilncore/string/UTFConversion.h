#pragma once

#include <kilncore/string/WideString.h>

#include <string>
#include <string_view>

namespace kilncore::string {

// The character that stands in for input that can't be decoded.
inline constexpr char32_t kReplacementCharacter = U'\uFFFD';

// Converts UTF-8 text to UTF-16.
//
// Never fails: each malformed sequence becomes one U+FFFD. A malformed
// sequence is a byte that can't start a character (a stray continuation byte,
// 0xC0, 0xC1, 0xF5..0xFF), or a lead byte whose sequence is cut short, overlong,
// a surrogate or above U+10FFFF; the continuation bytes that directly follow
// such a lead byte belong to the same replacement.
WideString UTF8to16(std::string_view text);

// Converts UTF-16 text to UTF-8.
//
// Never fails: each unpaired surrogate becomes one U+FFFD.
std::string UTF16to8(WideStringView text);

// Widens 7-bit ASCII text. A byte above 0x7F isn't ASCII and becomes U+FFFD;
// use UTF8to16 for text that may hold other characters.
WideString AsciiToUTF16(std::string_view text);

}  // namespace kilncore::string
