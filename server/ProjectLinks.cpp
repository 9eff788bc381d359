#include "ProjectLinks.h"

#include <server/project/Project.h>

#include <ProjectXML/ProjectXMLReader.h>

#include <deque>
#include <exception>
#include <set>
#include <string>
#include <utility>

namespace tetherserver {
namespace {

using kilncore::utility::Guid;

std::filesystem::path Resolve(const std::string& written, const std::filesystem::path& projectPath) {
  const std::filesystem::path link(written);
  if (link.is_absolute()) return link.lexically_normal();
  return (projectPath.parent_path() / link).lexically_normal();
}

bool IsHostProject(const std::filesystem::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".tlmproj" || extension == ".tlmprojx";
}

const ProjectXML::Item* FindSequence(const std::vector<ProjectXML::Item>& items, const Guid& id) {
  for (const ProjectXML::Item& item : items) {
    if (item.id == id && item.kind == ProjectXML::Item::Kind::kSequence && item.sequence) return &item;
    if (const ProjectXML::Item* found = FindSequence(item.children, id)) return found;
  }
  return nullptr;
}

std::optional<std::vector<LinkTarget>> HostSequenceLinks(const LinkTarget& target) {
  try {
    const ProjectXML::ProjectDocument document = ProjectXML::ProjectXMLReader::ReadFile(target.project.string());
    const ProjectXML::Item* sequence = FindSequence(document.items, target.item);
    if (!sequence) return std::nullopt;
    return ProjectLinks::Of(*sequence->sequence, target.project);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<std::vector<LinkTarget>> CompositionLinks(const LinkTarget& target) {
  if (!Project::FlavourOfPath(target.project)) return std::nullopt;
  auto opened = Project::Open(target.project);
  if (!opened) return std::nullopt;
  const Composition* composition = (*opened)->FindComposition(target.item);
  if (!composition) return std::nullopt;
  return ProjectLinks::Of(*composition, target.project);
}

}  // namespace

std::vector<LinkTarget> ProjectLinks::Of(const Composition& composition, const std::filesystem::path& projectPath) {
  std::vector<LinkTarget> links;
  for (const Layer& layer : composition.layers) {
    if (layer.type == Layer::Type::kLink) links.push_back({Resolve(layer.linkProject, projectPath), layer.linkItem});
  }
  return links;
}

std::vector<LinkTarget> ProjectLinks::Of(const ProjectXML::Sequence& sequence,
                                         const std::filesystem::path& projectPath) {
  std::vector<LinkTarget> links;
  for (const auto* tracks : {&sequence.videoTracks, &sequence.audioTracks}) {
    for (const ProjectXML::Track& track : *tracks) {
      for (const ProjectXML::Clip& clip : track.clips) {
        if (!clip.linkProject.empty()) links.push_back({Resolve(clip.linkProject, projectPath), clip.linkItem});
      }
    }
  }
  return links;
}

std::optional<std::vector<LinkTarget>> ProjectLinks::LinksOf(const LinkTarget& target) {
  return IsHostProject(target.project) ? HostSequenceLinks(target) : CompositionLinks(target);
}

bool ProjectLinks::Reaches(const std::vector<LinkTarget>& starts, const Guid& item) {
  std::deque<LinkTarget> pending(starts.begin(), starts.end());
  std::set<std::pair<std::string, std::string>> visited;
  while (!pending.empty() && visited.size() < kMaxVisits) {
    LinkTarget next = std::move(pending.front());
    pending.pop_front();
    if (next.item == item) return true;
    if (!visited.insert({next.project.string(), next.item.AsUTF8String()}).second) continue;
    if (auto further = LinksOf(next)) pending.insert(pending.end(), further->begin(), further->end());
  }
  return false;
}

}  // namespace tetherserver
