#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

namespace TetherMedia {

// The key of a request in the table of open requests.
using RequestKey = kilncore::utility::Guid;

// The key of the request for `path` and `sourceID`: a stable 128-bit hash of
// the literal "TetherFuture", the UTF-16 code units of `path` (two bytes each,
// in memory order) and the 16 bytes of `sourceID`. Equal arguments give equal
// keys in every run; paths that differ in case give different keys.
RequestKey MakeRequestKey(const kilncore::WideString& path,
                          const kilncore::utility::Guid& sourceID);

}  // namespace TetherMedia
