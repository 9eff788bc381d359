#include <server/tolmen/HostProjectSession.h>

#include <server/ProjectLinks.h>
#include <server/tolmen/SequenceItem.h>

#include <kilncore/string/UTFConversion.h>

#include <filesystem>

#include <ProjectXML/ProjectXMLWriter.h>

#include <kilncore/string/UTFConversion.h>

#include <functional>
#include <set>
#include <utility>

namespace tetherserver {

namespace {

// The keys that the host's project library marks imports with (KL/Keel.h).
constexpr char kMarkedForImportKey[] = "Keel.Project.MarkedForImport";
// An entry that is neither a leaf nor a container: clients skip it.
constexpr int32_t kOtherItemType = 2;

const ProjectXML::Item* Find(const std::vector<ProjectXML::Item>& items, const kilncore::utility::Guid& id) {
  for (const ProjectXML::Item& item : items) {
    if (item.id == id) return &item;
    if (const ProjectXML::Item* found = Find(item.children, id)) return found;
  }
  return nullptr;
}

const ProjectXML::Item* FindMasterClip(const std::vector<ProjectXML::Item>& items, const std::string& media) {
  for (const ProjectXML::Item& item : items) {
    if (item.kind == ProjectXML::Item::Kind::kMasterClip && item.media == media) return &item;
    if (const ProjectXML::Item* found = FindMasterClip(item.children, media)) return found;
  }
  return nullptr;
}

tether::ItemInfo InfoOf(const ProjectXML::Item& item) {
  int32_t type = kOtherItemType;
  if (item.kind == ProjectXML::Item::Kind::kSequence) type = tether::ItemInfo::kTypeLeaf;
  if (item.kind == ProjectXML::Item::Kind::kBin) type = tether::ItemInfo::kTypeContainer;
  return tether::ItemInfo{kilncore::string::UTF8to16(item.name), item.id, type};
}

}  // namespace

HostProjectSession::HostProjectSession(ProjectXML::ProjectDocument document, tether::File file)
    : mDocument(std::move(document)), mFile(std::move(file)), mMedia(std::make_shared<MediaCache>()) {}

tether::MissingAssets HostProjectSession::GetMissingAssets() const { return {}; }

std::vector<ProjectXML::Item> HostProjectSession::ListSequences() const {
  std::vector<ProjectXML::Item> sequences;
  const std::function<void(const std::vector<ProjectXML::Item>&)> walk = [&](const std::vector<ProjectXML::Item>& items) {
    for (const ProjectXML::Item& item : items) {
      if (item.kind == ProjectXML::Item::Kind::kSequence) sequences.push_back(item);
      walk(item.children);
    }
  };
  walk(mDocument.items);
  return sequences;
}

const ProjectXML::Item* HostProjectSession::FindItem(const kilncore::utility::Guid& id) const {
  return Find(mDocument.items, id);
}

std::optional<std::vector<tether::ItemInfo>> HostProjectSession::GetContainedItems(
    const kilncore::utility::Guid& id) const {
  const std::vector<ProjectXML::Item>* items = &mDocument.items;
  if (!id.IsNil()) {
    const ProjectXML::Item* bin = FindItem(id);
    if (!bin || bin->kind != ProjectXML::Item::Kind::kBin) return std::nullopt;
    items = &bin->children;
  }
  std::vector<tether::ItemInfo> infos;
  for (const ProjectXML::Item& item : *items) infos.push_back(InfoOf(item));
  return infos;
}

std::shared_ptr<const SessionItem> HostProjectSession::GetItem(const kilncore::utility::Guid& id) const {
  const ProjectXML::Item* item = FindItem(id);
  if (!item || item->kind != ProjectXML::Item::Kind::kSequence || !item->sequence) return nullptr;
  return std::make_shared<SequenceItem>(*item, mFile, mMedia);
}

bool HostProjectSession::IsSourceLinked(const kilncore::utility::Guid& id) const {
  const std::filesystem::path path(kilncore::string::UTF16to8(mFile.FullPath()));
  std::vector<LinkTarget> starts;
  for (const ProjectXML::Item& sequence : ListSequences()) {
    if (!sequence.sequence) continue;
    const auto links = ProjectLinks::Of(*sequence.sequence, path);
    starts.insert(starts.end(), links.begin(), links.end());
  }
  return ProjectLinks::Reaches(starts, id);
}

std::optional<std::string> HostProjectSession::ItemsAsXML(const std::vector<kilncore::utility::Guid>& ids) const {
  ProjectXML::ProjectDocument exported;
  exported.flavour = mDocument.flavour;
  std::set<std::string> included;
  std::string marks;
  for (const kilncore::utility::Guid& id : ids) {
    const ProjectXML::Item* item = id.IsNil() ? nullptr : FindItem(id);
    if (!item) return std::nullopt;
    if (included.count(item->id.AsUTF8String())) continue;
    exported.items.push_back(*item);
    Include(*item, included);
    marks += (marks.empty() ? "" : " ") + std::to_string(item->nodeID);
  }
  // What the named sequences need comes along, unmarked: the master clips of
  // the media their clips show.
  std::vector<ProjectXML::Item> needed;
  for (const ProjectXML::Item& item : exported.items) AddNeededClips(item, included, needed);
  exported.items.insert(exported.items.end(), needed.begin(), needed.end());
  exported.properties.push_back({kMarkedForImportKey, ProjectXML::Property::Type::kText, marks, false});
  return ProjectXML::ProjectXMLWriter::Write(exported);
}

void HostProjectSession::Include(const ProjectXML::Item& item, std::set<std::string>& included) {
  included.insert(item.id.AsUTF8String());
  for (const ProjectXML::Item& child : item.children) Include(child, included);
}

void HostProjectSession::AddNeededClips(const ProjectXML::Item& item, std::set<std::string>& included,
                                        std::vector<ProjectXML::Item>& needed) const {
  for (const ProjectXML::Item& child : item.children) AddNeededClips(child, included, needed);
  if (!item.sequence) return;
  for (const auto* tracks : {&item.sequence->videoTracks, &item.sequence->audioTracks}) {
    for (const ProjectXML::Track& track : *tracks) {
      for (const ProjectXML::Clip& clip : track.clips) {
        const ProjectXML::Item* master = FindMasterClip(mDocument.items, clip.media);
        if (master && included.insert(master->id.AsUTF8String()).second) needed.push_back(*master);
      }
    }
  }
}

}  // namespace tetherserver
