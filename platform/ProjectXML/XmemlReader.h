#pragma once

#include <ProjectXML/ProjectDocument.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace ProjectXML {

// Reads Final Cut Pro 7 interchange files (xmeml, versions 1 to 5) into the
// records of the host project dialect, so that their sequences are served as
// host project sequences are, and a host lists them as it lists its own.
// docs/project-format.md, "Final Cut Pro XML", lists what is read, what is
// skipped (with a note to the caller, which the server logs) and the defaults
// of missing elements.
//
// Every failure throws ProjectXMLError whose text names the
// element's path and line: text that isn't XML, another root or version, a
// `file` reference that no `file` of the document defines, sizes, rates or times out
// of their bounds, too many clips.
class XmemlReader {
 public:
  // Told once per name of an element that is skipped ("skipped <filter> in
  // PATH"), so that exports that carry more than is rendered are noticed.
  using NoteSink = std::function<void(const std::string& note)>;

  // `path` (UTF-8) names the file: it seeds the identifiers of sequences that
  // have no uuid of their own, and relative paths are its folder's.
  static ProjectDocument Read(std::string_view text, const std::string& path, const NoteSink& notes = {});
  static ProjectDocument ReadFile(const std::string& path, const NoteSink& notes = {});

  // "file://localhost/a%20b.png" and "file:///a%20b.png" are "/a b.png";
  // another text is kept as it is.
  static std::string PathOfURL(std::string_view url);
};

}  // namespace ProjectXML
