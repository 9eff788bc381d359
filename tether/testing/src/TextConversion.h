#pragma once

#include <kilncore/string/WideString.h>

#include <string>

namespace tether::testing {

// UTF-16 to UTF-8, for the keys of paths. Unpaired surrogates become U+FFFD.
std::string ToUTF8(kilncore::WideStringView text);

}  // namespace tether::testing
