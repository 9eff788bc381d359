#include "SessionProjectContent.h"

#include "SessionSyntheticContent.h"

#include <server/project/Project.h>
#include <server/render/AudioSynthesizer.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

namespace tetherserver {
namespace {

using kilncore::utility::Guid;

int32_t StatusOf(const ProjectError& error) {
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

 private:
  std::shared_ptr<const Project> mProject;
  const Composition* mComposition;
  tether::SourceInfo mInfo;
};

class OpenedProject : public SessionProject {
 public:
  explicit OpenedProject(std::shared_ptr<const Project> project) : mProject(std::move(project)) {}

  tether::MissingAssets GetMissingAssets() const override { return mProject->GetMissingAssets(); }

  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const Guid& id) const override {
    return mProject->GetContainedItems(id);
  }

  std::shared_ptr<const SessionItem> GetItem(const Guid& id) const override {
    const Composition* composition = mProject->FindComposition(id);
    auto info = mProject->DescribeSource(id);
    if (!composition || !info) {
      return nullptr;
    }
    return std::make_shared<CompositionItem>(mProject, composition, *info);
  }

 private:
  std::shared_ptr<const Project> mProject;
};

}  // namespace

SessionProjectContent::SessionProjectContent() : mSynthetic(std::make_shared<SessionSyntheticContent>()) {}

bool SessionProjectContent::SupportsApplication(const std::string& application) const {
  return application == "Marl";
}

std::shared_ptr<const SessionProject> SessionProjectContent::OpenProject(const std::string& application,
                                                                         const tether::File& file,
                                                                         const std::string& json,
                                                                         int32_t& status) const {
  std::string path = kilncore::string::UTF16to8(file.FullPath());
  if (path.size() >= 10 && path.compare(path.size() - 10, 10, ".synthetic") == 0) {
    return mSynthetic->OpenProject(application, file, json, status);
  }
  auto opened = Project::Open(path);
  if (!opened) {
    status = StatusOf(opened.error);
    return nullptr;
  }
  status = tether::wire::kStatusOK;
  return std::make_shared<OpenedProject>(*opened);
}

}  // namespace tetherserver
