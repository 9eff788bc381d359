#pragma once

#include <kilncore/string/WideString.h>

namespace FarsideCL {

// Whether `name` is the name of a remote asset on the Farside service rather
// than a file path.
//
// A remote asset is named by a JSON object with three string members,
// "production", "version" and "asset", for example
//   {"production":"Trailer","version":"v3","asset":"Titles"}
// The production and the asset must not be empty; an empty version means the
// latest one. Members in any order, white space between tokens and further
// members are accepted, as from any JSON writer. Anything else, a path above
// all, is no asset name: a path never starts with '{' followed by valid JSON
// of that shape. AssetName reads and writes these names.
bool IsFarsideAssetName(kilncore::WideStringView name);

}  // namespace FarsideCL
