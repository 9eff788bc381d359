#pragma once

#include <kilncore/string/WideString.h>

#include <string>

namespace kilncore::utility::FileUtils {

// True if something exists at `path` (a file, a directory or anything else the
// file system holds). A path that names nothing, can't be examined, or isn't a
// file path at all (the JSON text of a remote item, an empty text) gives false;
// this never throws.
bool FileOrDirExists(WideStringView path);

// The extension of the last component of `path`, as UTF-8.
//
// Both '/' and '\' separate components, since the host's paths may come from
// either platform. The extension is the text after the last '.' of the last
// component. A component without a '.', or whose only '.' is its first
// character (".profile"), has no extension and gives an empty text, whatever
// `withDot` says. With `withDot` true the '.' is kept: "C:\x\Show.marlp" gives
// ".marlp"; with false it gives "marlp". Case is kept as it is.
std::string GetPathExtension(WideStringView path, bool withDot);

}  // namespace kilncore::utility::FileUtils
