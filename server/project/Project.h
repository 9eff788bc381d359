#pragma once

#include <server/project/Composition.h>
#include <server/project/FontReference.h>
#include <server/project/ProjectContents.h>
#include <server/project/ProjectError.h>

#include <tether/ItemInfo.h>
#include <tether/MissingAssets.h>
#include <tether/MissingFont.h>
#include <tether/SourceInfo.h>

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tetherserver {

// Which member of the Marl family a project file is; its extension tells.
enum class ProjectFlavour {
  kProject,          // .marlp
  kProjectXML,       // .marlpx
  kCapture,          // .marlcap
  kGraphicTemplate,  // .marlgraphic: a motion-graphics template
};

// One entry of the depth-first listing of a project's tree.
struct ProjectTreeEntry {
  // type is tether::ItemInfo::kTypeContainer for a folder, kTypeLeaf for a
  // composition.
  tether::ItemInfo item;
  // The folder that holds the entry; nil for the project's top level.
  kilncore::utility::Guid parentID;
  // 1 for the top level, 2 inside a top-level folder, and so on.
  uint32_t depth = 1;

  friend bool operator==(const ProjectTreeEntry&, const ProjectTreeEntry&) = default;
};

// An open project of the Marl family: its tree of folders and compositions,
// each composition's description, content state and fonts.
//
// Immutable once opened and held by std::shared_ptr<const Project>, so any
// number of threads may use one project at once without locking. A change on
// disk is seen by opening the file again (the plumbing's refresh).
//
// Example:
//   auto opened = tetherserver::Project::Open("/projects/simple.marlp");
//   if (!opened) return opened.error.ResultCode();
//   const auto& project = *opened;  // std::shared_ptr<const Project>
//   for (const auto& comp : project->ListCompositions()) { ... }
class Project {
 public:
  // Reads and parses the file at `path`. Errors: kFileMissing, kUnreadable,
  // kUnsupportedFileType (an extension other than the four of the family),
  // kNotJSON, kBadField. Never throws for bad input.
  static Outcome<std::shared_ptr<const Project>> Open(const std::filesystem::path& path);

  // Parses `text` as if read from `path`, whose extension gives the flavour;
  // the file itself isn't touched.
  static Outcome<std::shared_ptr<const Project>> Parse(std::string_view text,
                                                       const std::filesystem::path& path);

  // The flavour of `path`'s extension (compared without case), or nothing.
  static std::optional<ProjectFlavour> FlavourOfPath(const std::filesystem::path& path);

  const std::filesystem::path& GetPath() const { return mPath; }
  ProjectFlavour GetFlavour() const { return mFlavour; }
  // The "producer" text of the file, for people (UTF-8).
  const std::string& GetProducer() const { return mContents.producer; }
  // The file's "revision" (0 when it names none).
  int64_t GetRevision() const { return mContents.revision; }

  // The entries of one folder, in the file's order, as the client's Container
  // hands them out. The nil Guid names the project's top level. Nothing if
  // `containerID` is no folder of this project (a composition's ID included).
  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(
      const kilncore::utility::Guid& containerID) const;

  // Every folder and composition, depth first: each folder is followed at once
  // by its contents.
  std::vector<ProjectTreeEntry> ListTree() const;

  // The compositions only, in the depth-first order of ListTree: what a client
  // gets by walking the containers and keeping the leaves.
  std::vector<tether::ItemInfo> ListCompositions() const;

  // True for a folder's ID and for the nil Guid (the top level).
  bool IsContainer(const kilncore::utility::Guid& id) const;

  // The composition of `id`, or null. Valid as long as the project lives.
  const Composition* FindComposition(const kilncore::utility::Guid& id) const;

  // The description of composition `id` as the server sends it (see
  // docs/project-format.md for every member). kUnknownItem for any other ID.
  Outcome<tether::SourceInfo> DescribeSource(const kilncore::utility::Guid& id) const;

  // The content state of composition `id`: XXH3-128 (seed 0) of the text
  // "TetherServerContentState" followed by the composition's JSON object
  // written compactly. Editing that object (a layer, a tone, the name...)
  // changes it; white space, other compositions, folders and fonts don't.
  // The nil Guid for an unknown ID.
  kilncore::utility::Guid GetContentState(const kilncore::utility::Guid& id) const;

  // Every font the project declares, in the file's order.
  const std::vector<FontReference>& GetFonts() const { return mContents.fonts; }
  // The fonts that fontconfig can't match (FontCatalog::Resolve finds no font
  // of the family): the declared ones in the file's order, then those that
  // text layers name without declaring them. Depends on the machine.
  std::vector<tether::MissingFont> GetMissingFonts() const;
  // A hash of what every font the project uses (declared or named by a text
  // layer) resolves to on this machine now: file, face, size and time of the
  // file, or "missing". Changes exactly when the project's fonts do.
  kilncore::utility::Guid GetResolvedFontsState() const;
  // The same for the fonts that composition `id`'s text layers use; the nil
  // Guid for a composition without text (its pictures owe nothing to fonts)
  // and for an unknown ID.
  kilncore::utility::Guid GetRuntimeFontState(const kilncore::utility::Guid& id) const;
  // The missing fonts as the client's record; effects and files stay empty.
  tether::MissingAssets GetMissingAssets() const;

  // Text for SourceInfo::producerDescription.
  static constexpr char kProducerDescription[] = "Marl (reference link server)";

 private:
  Project(std::filesystem::path path, ProjectFlavour flavour, ProjectContents contents);

  const ProjectNode* FindNode(const kilncore::utility::Guid& id) const;
  // Every composition, in listing order.
  std::vector<const Composition*> AllCompositions() const;
  // The declared fonts, then the undeclared ones that text layers name.
  std::vector<FontReference> UsedFonts() const;

  std::filesystem::path mPath;
  ProjectFlavour mFlavour;
  ProjectContents mContents;
};

}  // namespace tetherserver
