#pragma once

#include <ProjectXML/ProjectDocument.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tetherserver {

// Reads Final Cut Pro 7 interchange files (xmeml, versions 1 to 5) into the
// records of the host project dialect, so that their sequences are served as
// host project sequences are. docs/project-format.md, "Final Cut Pro XML",
// lists what is read, what is skipped (with a note in the server's log) and
// the defaults of missing elements.
//
// Every failure throws ProjectXML::ProjectXMLError whose text names the
// element's path and line: text that isn't XML, another root or version, a
// `file` reference that no earlier `file` defines, sizes, rates or times out
// of their bounds, too many clips.
class XmemlReader {
 public:
  // `path` (UTF-8) names the file: it seeds the identifiers of sequences that
  // have no uuid of their own, and relative paths are its folder's.
  static ProjectXML::ProjectDocument Read(std::string_view text, const std::string& path);
  static ProjectXML::ProjectDocument ReadFile(const std::string& path);

  // "file://localhost/a%20b.png" and "file:///a%20b.png" are "/a b.png";
  // another text is kept as it is.
  static std::string PathOfURL(std::string_view url);
};

}  // namespace tetherserver
