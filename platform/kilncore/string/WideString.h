#pragma once

#include <string>
#include <string_view>

namespace kilncore {

// The host's wide text: UTF-16 code units, whatever the width of wchar_t.
//
// Paths, user-visible texts and the prefs blob are UTF-16 in the host, and
// several formats depend on it (the blob stores UTF-16 LE bytes; hashes feed two
// bytes per unit). On Linux wchar_t is 32-bit, so every place that the host
// calls a wide string uses this type instead.
using WideChar = char16_t;
using WideString = std::u16string;
using WideStringView = std::u16string_view;

}  // namespace kilncore
