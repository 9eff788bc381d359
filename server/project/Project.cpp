#include <server/project/Project.h>

#include <server/project/ProjectParser.h>
#include <server/render/FontCatalog.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilnmediatypes/PixelFormat.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace tetherserver {
namespace {

using kilncore::utility::Guid;
using Opened = Outcome<std::shared_ptr<const Project>>;

tether::PixelFormat ToClientFormat(const kilnmediatypes::PixelFormat& format) {
  return tether::PixelFormat{format.fourcc, format.properties};
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

Project::Project(std::filesystem::path path, ProjectFlavour flavour, ProjectContents contents)
    : mPath(std::move(path)), mFlavour(flavour), mContents(std::move(contents)) {}

std::optional<ProjectFlavour> Project::FlavourOfPath(const std::filesystem::path& path) {
  const std::string extension = LowerCase(path.extension().string());
  if (extension == ".marlp") return ProjectFlavour::kProject;
  if (extension == ".marlpx") return ProjectFlavour::kProjectXML;
  if (extension == ".marlcap") return ProjectFlavour::kCapture;
  if (extension == ".marlgraphic") return ProjectFlavour::kGraphicTemplate;
  return std::nullopt;
}

Opened Project::Open(const std::filesystem::path& path) {
  std::error_code error;
  const bool exists = std::filesystem::exists(path, error);
  if (!exists && !error) {
    return Opened::Failure(ProjectError::Kind::kFileMissing, path.string() + ": no such file");
  }
  if (error || std::filesystem::is_directory(path, error)) {
    return Opened::Failure(ProjectError::Kind::kUnreadable, path.string() + ": not a readable file");
  }
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) {
    return Opened::Failure(ProjectError::Kind::kUnreadable, path.string() + ": can't be opened");
  }
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) {
    return Opened::Failure(ProjectError::Kind::kUnreadable, path.string() + ": can't be read");
  }
  return Parse(text, path);
}

Opened Project::Parse(std::string_view text, const std::filesystem::path& path) {
  const std::optional<ProjectFlavour> flavour = FlavourOfPath(path);
  if (!flavour) {
    return Opened::Failure(ProjectError::Kind::kUnsupportedFileType,
                           path.string() + ": not a project of the Marl family");
  }
  Outcome<ProjectContents> contents = ProjectParser::Parse(text);
  if (!contents) {
    return Opened::Failure(contents.error.kind, path.string() + ": " + contents.error.message);
  }
  return Opened::Success(std::shared_ptr<const Project>(
      new Project(path, *flavour, std::move(*contents))));
}

const ProjectNode* Project::FindNode(const Guid& id) const {
  for (const ProjectNode& node : mContents.nodes) {
    if (node.id == id) return &node;
  }
  return nullptr;
}

std::optional<std::vector<tether::ItemInfo>> Project::GetContainedItems(const Guid& containerID) const {
  const ProjectNode* folder = FindNode(containerID);
  if (!folder || folder->type != ProjectNode::Type::kFolder) return std::nullopt;
  std::vector<tether::ItemInfo> items;
  for (size_t index : folder->children) {
    const ProjectNode& node = mContents.nodes[index];
    items.push_back(tether::ItemInfo{
        kilncore::string::UTF8to16(node.name), node.id,
        node.type == ProjectNode::Type::kFolder ? tether::ItemInfo::kTypeContainer
                                                : tether::ItemInfo::kTypeLeaf});
  }
  return items;
}

std::vector<ProjectTreeEntry> Project::ListTree() const {
  // The nodes were stored depth first; the root (index 0) isn't listed.
  std::vector<ProjectTreeEntry> entries;
  for (size_t i = 1; i < mContents.nodes.size(); ++i) {
    const ProjectNode& node = mContents.nodes[i];
    entries.push_back(ProjectTreeEntry{
        tether::ItemInfo{kilncore::string::UTF8to16(node.name), node.id,
                         node.type == ProjectNode::Type::kFolder ? tether::ItemInfo::kTypeContainer
                                                                 : tether::ItemInfo::kTypeLeaf},
        mContents.nodes[node.parent].id, node.depth});
  }
  return entries;
}

std::vector<tether::ItemInfo> Project::ListCompositions() const {
  std::vector<tether::ItemInfo> items;
  for (const ProjectTreeEntry& entry : ListTree()) {
    if (entry.item.type == tether::ItemInfo::kTypeLeaf) items.push_back(entry.item);
  }
  return items;
}

std::vector<const Composition*> Project::AllCompositions() const {
  std::vector<const Composition*> compositions;
  for (const tether::ItemInfo& item : ListCompositions()) {
    if (const Composition* comp = FindComposition(item.id)) compositions.push_back(comp);
  }
  return compositions;
}

bool Project::IsContainer(const Guid& id) const {
  const ProjectNode* node = FindNode(id);
  return node && node->type == ProjectNode::Type::kFolder;
}

const Composition* Project::FindComposition(const Guid& id) const {
  const ProjectNode* node = FindNode(id);
  if (!node || node->type != ProjectNode::Type::kComposition) return nullptr;
  return &mContents.compositions[node->composition];
}

Outcome<tether::SourceInfo> Project::DescribeSource(const Guid& id) const {
  const Composition* comp = FindComposition(id);
  if (!comp) {
    return Outcome<tether::SourceInfo>::Failure(
        ProjectError::Kind::kUnknownItem, "no composition " + id.AsUTF8String() + " in " + mPath.string());
  }
  tether::SourceInfo info;
  info.file = tether::File(kilncore::string::UTF8to16(mPath.string()), false);
  info.name = kilncore::string::UTF8to16(comp->name);
  info.producerDescription = kilncore::string::UTF8to16(kProducerDescription);
  info.sourceID = comp->id;
  info.startTime = comp->StartTime();
  info.pixelAspectRatio = comp->pixelAspectRatio;
  info.width = comp->width;
  info.height = comp->height;
  info.frameRate = comp->FrameTicks();
  info.nativePixelFormats = {ToClientFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u),
                             ToClientFormat(kilnmediatypes::kPixelFormat_RGBA_4444_32f)};
  info.fieldType = comp->fieldType;
  if (comp->audio.HasAudio()) {
    info.hasAudio = true;
    info.audioChannelLayout = comp->audio.channelLabels;
    info.audioSampleRate = tether::kTicksPerSecond / comp->audio.sampleRate;
  }
  info.contentState = comp->contentState;
  info.hasVideo = true;
  info.duration = comp->Duration();
  info.workInPoint = comp->FramesToTime(comp->workAreaInFrame);
  info.workOutPoint = comp->FramesToTime(comp->workAreaOutFrame);
  info.isDropFrame = comp->dropFrame;
  info.colorSpace = tether::ColorSpace{comp->colorSpace};
  info.isTemplate = mFlavour == ProjectFlavour::kGraphicTemplate;
  info.markers = comp->markers;
  info.revision = mContents.revision;
  return Outcome<tether::SourceInfo>::Success(std::move(info));
}

Guid Project::GetContentState(const Guid& id) const {
  const Composition* comp = FindComposition(id);
  return comp ? comp->contentState : Guid();
}

std::vector<FontReference> Project::UsedFonts() const {
  std::vector<FontReference> fonts = mContents.fonts;
  std::set<std::pair<std::string, std::string>> named;
  for (const FontReference& font : fonts) named.insert({font.family, font.style});
  for (const Composition* comp : AllCompositions()) {
    for (const Layer& layer : comp->layers) {
      if (layer.type != Layer::Type::kText || !named.insert({layer.fontFamily, layer.fontStyle}).second) continue;
      FontReference font;
      font.family = layer.fontFamily;
      font.style = layer.fontStyle;
      fonts.push_back(std::move(font));
    }
  }
  return fonts;
}

std::vector<tether::MissingFont> Project::GetMissingFonts() const {
  std::vector<tether::MissingFont> missing;
  for (const FontReference& font : UsedFonts()) {
    if (FontCatalog::Instance().Resolve(font.family, font.style)) continue;
    missing.push_back(
        tether::MissingFont{font.family, font.style, font.fullName, font.file, font.technology});
  }
  return missing;
}

namespace {

void MixText(kilncore::utility::HashValueMixerState& state, const std::string& text) {
  const uint64_t size = text.size();
  kilncore::utility::UpdateHashState(state, &size, sizeof size);
  kilncore::utility::UpdateHashState(state, text.data(), text.size());
}

// Mixes what `family` / `style` resolve to now.
void MixResolvedFont(kilncore::utility::HashValueMixerState& state, const std::string& family,
                     const std::string& style) {
  MixText(state, family);
  MixText(state, style);
  const std::optional<ResolvedFont> font = FontCatalog::Instance().Resolve(family, style);
  if (!font) {
    MixText(state, "missing");
    return;
  }
  MixText(state, font->file);
  const int64_t facts[3] = {font->index, static_cast<int64_t>(font->fileSize), font->modifiedNanoseconds};
  kilncore::utility::UpdateHashState(state, facts, sizeof facts);
}

Guid Finish(kilncore::utility::HashValueMixerState& state) {
  Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

}  // namespace

Guid Project::GetResolvedFontsState() const {
  kilncore::utility::HashValueMixerState state;
  MixText(state, "TetherServerProjectFonts");
  for (const FontReference& font : UsedFonts()) MixResolvedFont(state, font.family, font.style);
  return Finish(state);
}

Guid Project::GetRuntimeFontState(const Guid& id) const {
  const Composition* comp = FindComposition(id);
  if (!comp) return Guid();
  kilncore::utility::HashValueMixerState state;
  MixText(state, "TetherServerRuntimeFonts");
  bool usesFonts = false;
  for (const Layer& layer : comp->layers) {
    if (layer.type != Layer::Type::kText) continue;
    usesFonts = true;
    MixResolvedFont(state, layer.fontFamily, layer.fontStyle);
  }
  return usesFonts ? Finish(state) : Guid();
}

tether::MissingAssets Project::GetMissingAssets() const {
  tether::MissingAssets assets;
  assets.fonts = GetMissingFonts();
  return assets;
}

}  // namespace tetherserver
