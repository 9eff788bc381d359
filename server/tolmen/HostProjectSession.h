#pragma once

#include "SessionContent.h"

#include <server/tolmen/MediaCache.h>

#include <ProjectXML/ProjectDocument.h>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tetherserver {

// An opened host project: its bin tree as containers (bins are containers,
// sequences are leaf items, master clips are entries of another type that
// clients skip), its sequences as items, and items exported in the host
// project dialect.
class HostProjectSession : public SessionProject {
 public:
  HostProjectSession(ProjectXML::ProjectDocument document, tether::File file);

  tether::MissingAssets GetMissingAssets() const override;
  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const kilncore::utility::Guid& id) const override;
  std::shared_ptr<const SessionItem> GetItem(const kilncore::utility::Guid& id) const override;
  // The items `ids` with everything below them, the master clips that their
  // sequences show (unmarked), and the project property that marks exactly
  // the named items for import (their node identifiers). Nothing if an id
  // names no item.
  std::optional<std::string> ItemsAsXML(const std::vector<kilncore::utility::Guid>& ids) const override;
  // Through the linked clips of every sequence, and on through the projects
  // they name.
  bool IsSourceLinked(const kilncore::utility::Guid& id) const override;

  // The sequences of the bin tree, depth first.
  std::vector<ProjectXML::Item> ListSequences() const;
  // The item `id` anywhere in the bin tree, or null.
  const ProjectXML::Item* FindItem(const kilncore::utility::Guid& id) const;

 private:
  static void Include(const ProjectXML::Item& item, std::set<std::string>& included);
  void AddNeededClips(const ProjectXML::Item& item, std::set<std::string>& included,
                      std::vector<ProjectXML::Item>& needed) const;

  const ProjectXML::ProjectDocument mDocument;
  const tether::File mFile;
  const std::shared_ptr<MediaCache> mMedia;
};

}  // namespace tetherserver
