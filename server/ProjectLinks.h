#pragma once

#include <server/project/Composition.h>

#include <ProjectXML/ProjectDocument.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace tetherserver {

// One link from an item to an item of another project: the project file and
// the item in it.
struct LinkTarget {
  std::filesystem::path project;
  kilncore::utility::Guid item;

  friend bool operator==(const LinkTarget&, const LinkTarget&) = default;
};

// The links between projects of different applications: a Marl composition's
// link layers name host-project sequences, a host-project sequence's linked
// clips name Marl compositions, and either may go on through further links.
//
// Links are followed by opening the files they name, by extension (the Marl
// family, the host's .tlmproj / .tlmprojx). Each (project, item) is visited
// once, so a circle of links ends the walk instead of running forever, and a
// walk visits at most kMaxVisits items, so a file that links thousands of
// projects can't hold a request for long. A file that can't be read, or an
// item it doesn't hold, simply links nothing further.
class ProjectLinks {
 public:
  static constexpr size_t kMaxVisits = 4096;

  // The links a composition / sequence holds itself, with relative paths
  // made absolute against the folder of `projectPath`, in the file's order.
  static std::vector<LinkTarget> Of(const Composition& composition, const std::filesystem::path& projectPath);
  static std::vector<LinkTarget> Of(const ProjectXML::Sequence& sequence, const std::filesystem::path& projectPath);

  // The links of item `target.item` of the project file `target.project`;
  // nothing if the file or the item can't be read.
  static std::optional<std::vector<LinkTarget>> LinksOf(const LinkTarget& target);

  // Whether following links from `starts` (and the links of what they name,
  // and so on) comes to an item whose identifier is `item`.
  static bool Reaches(const std::vector<LinkTarget>& starts, const kilncore::utility::Guid& item);
};

}  // namespace tetherserver
