#pragma once

#include <ProjectXML/ProjectDocument.h>

#include <filesystem>
#include <string>

namespace tetherhost {

// What `tetherhost list` shows of a host project or a Final Cut Pro XML file.
// The host reads these files itself, with its own project library, as it reads
// any project of its own or interchange file it imports: the server is asked
// nothing until an item is linked.
class HostProjectListing {
 public:
  // Host projects (".tlmproj", ".tlmprojx") and Final Cut Pro XML (".xml"),
  // by extension in any case.
  static bool IsHostProject(const std::filesystem::path& path);
  static bool IsFinalCutXML(const std::filesystem::path& path);

  // Reads `path`; a file that can't be read throws ProjectXML::ProjectXMLError
  // with the element's path and line.
  explicit HostProjectListing(const std::filesystem::path& path);

  // A host project: its bin tree, one item a line, indented two spaces a
  // level: "ID  bin NAME", "ID  clip NAME  MEDIA", "ID  sequence NAME  W x H
  // RATE fps  N frames (S s)". A Final Cut Pro XML file: its sequences in
  // the file's order (the first is the one the file links), as sequence lines.
  std::string Text() const;
  // The same as JSON: an array of {"id", "name", "type"} with "children" for a
  // bin, "media" for a clip, and for a sequence "width", "height",
  // "frameRate" {"numerator", "denominator"}, "fps", "durationFrames",
  // "durationSeconds".
  std::string Json() const;

  const ProjectXML::ProjectDocument& Document() const { return mDocument; }

  // The sequence to link when a user imports the file: the one named `wanted`
  // (by name or identifier), or the first. Null with `reason` set if there is
  // none; a Final Cut Pro XML file links as one clip, its first sequence.
  const ProjectXML::Item* ChooseSequence(const std::string& wanted, std::string& reason) const;

 private:
  ProjectXML::ProjectDocument mDocument;
  // Final Cut Pro XML lists its sequences alone, not the bins around them.
  bool mSequencesOnly = false;
};

}  // namespace tetherhost
