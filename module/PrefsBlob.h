#pragma once

#include <kilncore/string/WideString.h>

namespace TetherMedia {

// "00000000-0000-0000-0000-000000000000", made when the module is loaded. Its
// length is the width of the source identifier at the start of every prefs
// blob, which the blob itself doesn't store.
extern const kilncore::WideString kNullGuidString;

}  // namespace TetherMedia
