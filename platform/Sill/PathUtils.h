#pragma once

#include <kilncore/string/WideString.h>

namespace Sill::PathUtils {

// The parts of a path, taken as text: nothing here touches the file system, so
// any text is accepted (a remote item's JSON name included) and nothing
// throws.
//
// Both '/' and '\' separate components, since the host's paths may come from
// either platform. The last component is everything after the last separator
// (the whole text if there is none); a path that ends in a separator has an
// empty last component. Its extension starts at its last '.', unless that '.'
// is its first character (".profile" has no extension), in agreement with
// kilncore::utility::FileUtils::GetPathExtension.

// The last component without its extension: "C:\x\Show.marlp" gives "Show",
// "/a/b.tar.gz" gives "b.tar".
kilncore::WideString GetFilePart(kilncore::WideStringView path);

// The last component with its extension: "C:\x\Show.marlp" gives "Show.marlp".
kilncore::WideString GetFullFilePart(kilncore::WideStringView path);

}  // namespace Sill::PathUtils
