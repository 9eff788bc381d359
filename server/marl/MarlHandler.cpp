#include <server/marl/MarlHandler.h>

#include <server/FailureReason.h>
#include <metadata/ItemMetadata.h>
#include <server/ProjectLinks.h>

#include <server/project/ProjectXml.h>
#include "SessionSyntheticContent.h"

#include <server/project/Project.h>
#include <server/render/AudioSynthesizer.h>
#include <server/render/FontCatalog.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

#include <mutex>
#include <optional>
#include <string>

namespace tetherserver {
namespace {

using kilncore::utility::Guid;

int32_t StatusOf(const ProjectError& error) {
  // The reader's own words travel to the client beside the status.
  FailureReason::Set(error.message);
  switch (error.kind) {
    case ProjectError::Kind::kNone:
      return tether::wire::kStatusOK;
    case ProjectError::Kind::kFileMissing:
    case ProjectError::Kind::kUnknownItem:
      return tether::wire::kStatusNotFound;
    case ProjectError::Kind::kUnsupportedFileType:
    case ProjectError::Kind::kUnsupportedPixelFormat:
      return tether::wire::kStatusNotSupported;
    default:
      return tether::wire::kStatusFailed;
  }
}

std::string FlavourName(ProjectFlavour flavour) {
  switch (flavour) {
    case ProjectFlavour::kProject:
      return "Marl project";
    case ProjectFlavour::kProjectXML:
      return "Marl project XML";
    case ProjectFlavour::kCapture:
      return "Marl capture";
    case ProjectFlavour::kGraphicTemplate:
      return "Marl motion-graphics template";
  }
  return std::string();
}

// One composition; it keeps its project, which owns the composition.
class CompositionItem : public SessionItem {
 public:
  CompositionItem(std::shared_ptr<const Project> project, const Composition* composition, tether::SourceInfo info)
      : mProject(std::move(project)), mComposition(composition), mInfo(std::move(info)) {}

  tether::SourceInfo Describe() const override { return mInfo; }

  size_t FrameBytes(const tether::VideoRenderOptions& options) const override {
    auto settings = RenderSettings::Resolve(*mComposition, options);
    return settings ? settings->FrameBytes() : 0;
  }

  int32_t RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                      unsigned char* target, size_t size) const override {
    auto settings = RenderSettings::Resolve(*mComposition, options);
    if (!settings) {
      return StatusOf(settings.error);
    }
    if (size < settings->FrameBytes()) {
      return tether::wire::kStatusFailed;
    }
    return StatusOf(FrameRenderer::Render(*mComposition, time, *settings, settings->MakeBuffer(target)));
  }

  int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                      float* target) const override {
    uint32_t channels = static_cast<uint32_t>(options.GetAudioChannelLayout().size());
    return StatusOf(AudioSynthesizer::RenderBlock(*mComposition, SampleRate(options), start, frames, channels,
                                                  target, size_t{frames} * channels));
  }

  uint32_t SampleRate(const tether::AudioRenderOptions& options) const override {
    return AudioSynthesizer::SampleRateOfTicks(options.GetSampleRate());
  }

  tether::CaptionData Captions() const override { return mComposition->captions; }

  std::string RenderXMP(const tether::RatioTime& start, const tether::RatioTime& duration) const override {
    std::vector<ItemMarker> markers;
    for (const PlacedMarker& marker : mComposition->placedMarkers) markers.push_back({marker.frame, marker.name});
    return ItemMetadata::RenderXMP(mInfo, std::move(markers), start, duration);
  }

  bool ContainsLink() const override { return !ProjectLinks::Of(*mComposition, mProject->GetPath()).empty(); }

  // What the fonts of the composition's text layers resolve to, looked up
  // again if the machine's fonts changed.
  std::optional<Guid> RuntimeGuid() const override {
    FontCatalog::Instance().Rescan();
    return mProject->GetRuntimeFontState(mComposition->id);
  }

 private:
  std::shared_ptr<const Project> mProject;
  const Composition* mComposition;
  tether::SourceInfo mInfo;
};

class OpenedProject : public SessionProject {
 public:
  explicit OpenedProject(std::shared_ptr<const Project> project)
      : mProject(std::move(project)), mFontState(mProject->GetResolvedFontsState()) {}

  // The machine's fonts may have changed: look again, and move the answer on
  // when what this project's fonts resolve to did. It starts at 1, the value
  // a client starts from, so that an unchanged project never looks changed.
  std::optional<uint32_t> RuntimeFontChange() const override {
    FontCatalog::Instance().Rescan();
    const Guid now = mProject->GetResolvedFontsState();
    std::lock_guard lock(mFontMutex);
    if (now != mFontState) {
      mFontState = now;
      ++mFontChangeValue;
    }
    return mFontChangeValue;
  }

  tether::MissingAssets GetMissingAssets() const override { return mProject->GetMissingAssets(); }

  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const Guid& id) const override {
    return mProject->GetContainedItems(id);
  }

  std::shared_ptr<const SessionItem> GetItem(const Guid& id) const override { return ItemOf(mProject, id); }

  // Through the links of every composition, and on through the projects
  // they name.
  bool IsSourceLinked(const Guid& id) const override {
    std::vector<LinkTarget> starts;
    for (const tether::ItemInfo& entry : mProject->ListCompositions()) {
      const auto links = ProjectLinks::Of(*mProject->FindComposition(entry.id), mProject->GetPath());
      starts.insert(starts.end(), links.begin(), links.end());
    }
    return ProjectLinks::Reaches(starts, id);
  }

  std::optional<std::string> ItemsAsXML(const std::vector<Guid>& ids) const override {
    std::vector<ProjectXmlItem> items;
    for (const Guid& id : ids) {
      if (id.IsNil()) {
        return std::nullopt;
      }
      auto item = XmlItemOf(id);
      if (!item) {
        return std::nullopt;
      }
      items.push_back(std::move(*item));
    }
    return WriteProjectXml(mProject->GetPath().string(), items);
  }

  static std::shared_ptr<const SessionItem> ItemOf(const std::shared_ptr<const Project>& project, const Guid& id) {
    const Composition* composition = project->FindComposition(id);
    auto info = project->DescribeSource(id);
    if (!composition || !info) {
      return nullptr;
    }
    return std::make_shared<CompositionItem>(project, composition, *info);
  }

 private:
  // A folder carries its whole subtree, so that an exported folder can be
  // rebuilt on the reader's side.
  std::optional<ProjectXmlItem> XmlItemOf(const Guid& id) const {
    if (const Composition* composition = mProject->FindComposition(id)) {
      return ProjectXmlItem{false,
                            id,
                            composition->name,
                            {{"width", std::to_string(composition->width)},
                             {"height", std::to_string(composition->height)},
                             {"frameRate", std::to_string(composition->rateNumerator) + "/" +
                                               std::to_string(composition->rateDenominator)},
                             {"durationFrames", std::to_string(composition->durationFrames)},
                             {"contentState", composition->contentState.AsUTF8String()}},
                            {}};
    }
    auto entries = mProject->GetContainedItems(id);
    if (!entries) {
      return std::nullopt;
    }
    ProjectXmlItem folder{true, id, FolderName(id), {}, {}};
    for (const auto& entry : *entries) {
      if (auto child = XmlItemOf(entry.id)) {
        folder.children.push_back(std::move(*child));
      }
    }
    return folder;
  }

  std::string FolderName(const Guid& id) const {
    for (const auto& entry : mProject->ListTree()) {
      if (entry.item.id == id) {
        return kilncore::string::UTF16to8(entry.item.name);
      }
    }
    return std::string();
  }

  std::shared_ptr<const Project> mProject;
  mutable std::mutex mFontMutex;
  mutable Guid mFontState;
  mutable uint32_t mFontChangeValue = 1;
};

}  // namespace

MarlHandler::MarlHandler(std::string application, bool projects)
    : mApplication(std::move(application)),
      mProjects(projects),
      mSynthetic(std::make_shared<SessionSyntheticContent>()) {}

std::string MarlHandler::Application() const { return mApplication; }

bool MarlHandler::ServesFiles() const { return !mProjects; }

std::shared_ptr<const SessionProject> MarlHandler::OpenProject(const tether::File& file, const std::string& json,
                                                               int32_t& status, const ProgressSink& progress) const {
  if (!mProjects) return OwnerHandler::OpenProject(file, json, status, progress);
  const std::string& application = mApplication;
  std::string path = kilncore::string::UTF16to8(file.FullPath());
  if (path.size() >= 10 && path.compare(path.size() - 10, 10, ".synthetic") == 0) {
    return mSynthetic->OpenProject(application, file, json, status, progress);
  }
  auto report = [&](const char* type, double value, std::vector<std::string> arguments) {
    if (progress) {
      arguments.insert(arguments.begin(), path);
      progress(type, value, arguments);
    }
  };
  report(kOpeningProgressType, 0.0, {});
  auto opened = Project::Open(path);
  if (!opened) {
    status = StatusOf(opened.error);
    return nullptr;
  }
  report(kOpeningProgressType, 0.5, {});
  for (const auto& font : (*opened)->GetFonts()) {
    if (!font.available) {
      report(kMissingFontProgressType, -1.0, {font.family, font.style});
    }
  }
  report(kOpeningProgressType, 1.0, {});
  status = tether::wire::kStatusOK;
  return std::make_shared<OpenedProject>(*opened);
}

std::shared_ptr<const SessionItem> MarlHandler::OpenFile(const tether::File& file, FileNotes& notes,
                                                         int32_t& status) const {
  if (!ServesFiles()) return OwnerHandler::OpenFile(file, notes, status);
  return OpenPlainFile(file, notes, status);
}

std::shared_ptr<const SessionItem> MarlHandler::OpenPlainFile(const tether::File& file, FileNotes& notes,
                                                              int32_t& status) {
  auto opened = Project::Open(kilncore::string::UTF16to8(file.FullPath()));
  if (!opened) {
    status = StatusOf(opened.error);
    return nullptr;
  }
  // A plain file shows one item: the first composition of the tree.
  auto compositions = (*opened)->ListCompositions();
  if (compositions.empty()) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  notes.kind = FlavourName((*opened)->GetFlavour());
  notes.detail = static_cast<int32_t>(compositions.size());
  size_t missing = (*opened)->GetMissingFonts().size();
  notes.message = missing == 0 ? std::string() : std::to_string(missing) + " font(s) missing";
  status = tether::wire::kStatusOK;
  return OpenedProject::ItemOf(*opened, compositions.front().id);
}

std::shared_ptr<const SessionItem> MarlHandler::OpenFarsideAsset(const tether::FarsideAssetRequestInfo& request,
                                                                  int32_t& status) const {
  if (!mProjects) return OwnerHandler::OpenFarsideAsset(request, status);
  if (request.serverAddress.empty()) {
    status = tether::wire::kStatusServerUnavailable;
    return nullptr;
  }
  if (request.production.empty() || request.asset.empty()) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  auto opened = Project::Open(request.production);
  if (!opened) {
    status = StatusOf(opened.error);
    return nullptr;
  }
  if (!request.version.empty() && request.version != std::to_string((*opened)->GetRevision())) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  // The asset names a composition by its identifier, or else by its name.
  Guid id(request.asset);
  if (id.IsNil()) {
    for (const auto& item : (*opened)->ListCompositions()) {
      if (kilncore::string::UTF16to8(item.name) == request.asset) {
        id = item.id;
        break;
      }
    }
  }
  auto item = OpenedProject::ItemOf(*opened, id);
  status = item ? tether::wire::kStatusOK : tether::wire::kStatusNotFound;
  return item;
}

}  // namespace tetherserver
