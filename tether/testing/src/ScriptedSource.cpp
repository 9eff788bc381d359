#include "ScriptedSource.h"

#include "ScriptedAudioRenderer.h"
#include "ScriptedVideoRenderer.h"

namespace tether::testing {

std::shared_ptr<ScriptedSource> ScriptedSource::Make(const std::shared_ptr<ScriptedBackend>& backend,
                                                     const std::weak_ptr<ScriptedBackend>& weak,
                                                     const std::string& key,
                                                     const std::optional<kilncore::utility::Guid>& id) {
  if (!backend) {
    return nullptr;
  }
  ScriptedSourceSetup setup = backend->SourceSetupFor(key);
  if (id && setup.info.sourceID.IsNil()) {
    setup.info.sourceID = *id;
  }
  auto source = std::make_shared<ScriptedSource>(weak, key, std::move(setup));
  backend->RegisterSource(key, source);
  return source;
}

ScriptedSource::ScriptedSource(std::weak_ptr<ScriptedBackend> backend, std::string key, ScriptedSourceSetup setup)
    : ScriptedObject(std::move(backend), std::move(key)), mSetup(std::move(setup)) {
  mInfos.push_back(std::make_unique<const SourceInfo>(mSetup.info));
}

void ScriptedSource::Update(const std::function<void(ScriptedSourceSetup&)>& change) {
  std::lock_guard lock(mMutex);
  change(mSetup);
  mInfos.push_back(std::make_unique<const SourceInfo>(mSetup.info));
}

ScriptedSourceSetup ScriptedSource::Snapshot() const {
  std::lock_guard lock(mMutex);
  return mSetup;
}

template <class Read>
auto ScriptedSource::Query(const char* getter, Read read) const {
  Begin(Operation::kSourceQuery, Key(), SourceQueryArgs{getter});
  std::lock_guard lock(mMutex);
  return read(mSetup);
}

const SourceInfo& ScriptedSource::GetSourceInfo() const {
  Begin(Operation::kSourceQuery, Key(), SourceQueryArgs{"GetSourceInfo"});
  std::lock_guard lock(mMutex);
  return *mInfos.back();
}

void ScriptedSource::Init(const SourceInfo& info, InitCallback callback) {
  Begin(Operation::kInit, Key(), InitArgs{info, static_cast<bool>(callback)});
  std::lock_guard lock(mMutex);
  mSetup.info = info;
  mInfos.push_back(std::make_unique<const SourceInfo>(info));
  // The scripted server never gives an item a new identifier, so `callback`
  // isn't called.
}

RatioTime ScriptedSource::GetDuration() const {
  return Query("GetDuration", [](const ScriptedSourceSetup& s) { return s.info.duration; });
}
RatioTime ScriptedSource::GetStartTime() const {
  return Query("GetStartTime", [](const ScriptedSourceSetup& s) { return s.info.startTime; });
}
RatioTime ScriptedSource::GetTickCount() const {
  return Query("GetTickCount", [](const ScriptedSourceSetup& s) { return s.info.tickCount; });
}
RatioTime ScriptedSource::GetWorkInPoint() const {
  return Query("GetWorkInPoint", [](const ScriptedSourceSetup& s) { return s.info.workInPoint; });
}
RatioTime ScriptedSource::GetWorkOutPoint() const {
  return Query("GetWorkOutPoint", [](const ScriptedSourceSetup& s) { return s.info.workOutPoint; });
}
FrameRate ScriptedSource::GetFrameRate() const {
  return Query("GetFrameRate", [](const ScriptedSourceSetup& s) { return s.info.frameRate; });
}
bool ScriptedSource::IsDropFrame() const {
  return Query("IsDropFrame", [](const ScriptedSourceSetup& s) { return s.info.isDropFrame; });
}
FrameRect ScriptedSource::GetFrameSize() const {
  return Query("GetFrameSize", [](const ScriptedSourceSetup& s) {
    return FrameRect{0, 0, static_cast<int32_t>(s.info.width), static_cast<int32_t>(s.info.height)};
  });
}
PixelAspectRatio ScriptedSource::GetPixelAspectRatio() const {
  return Query("GetPixelAspectRatio", [](const ScriptedSourceSetup& s) { return s.info.pixelAspectRatio; });
}
FieldType ScriptedSource::GetFieldType() const {
  return Query("GetFieldType", [](const ScriptedSourceSetup& s) { return s.info.fieldType; });
}
FieldType ScriptedSource::GetNativeFieldType() const {
  return Query("GetNativeFieldType",
               [](const ScriptedSourceSetup& s) { return s.nativeFieldType.value_or(s.info.fieldType); });
}
std::vector<PixelFormat> ScriptedSource::GetNativePixelFormats() const {
  return Query("GetNativePixelFormats", [](const ScriptedSourceSetup& s) { return s.info.nativePixelFormats; });
}
float ScriptedSource::GetAlphaMatteColorR() const {
  return Query("GetAlphaMatteColorR", [](const ScriptedSourceSetup& s) { return s.info.matteColorR; });
}
float ScriptedSource::GetAlphaMatteColorG() const {
  return Query("GetAlphaMatteColorG", [](const ScriptedSourceSetup& s) { return s.info.matteColorG; });
}
float ScriptedSource::GetAlphaMatteColorB() const {
  return Query("GetAlphaMatteColorB", [](const ScriptedSourceSetup& s) { return s.info.matteColorB; });
}
bool ScriptedSource::HasFrozenUnstretchableRegions() const {
  return Query("HasFrozenUnstretchableRegions",
               [](const ScriptedSourceSetup& s) { return s.info.hasFrozenUnstretchableRegions; });
}
bool ScriptedSource::HasVideo() const {
  return Query("HasVideo", [](const ScriptedSourceSetup& s) { return s.info.hasVideo; });
}
bool ScriptedSource::HasAudio() const {
  return Query("HasAudio", [](const ScriptedSourceSetup& s) { return s.info.hasAudio; });
}
std::vector<AudioChannelLabel> ScriptedSource::GetAudioChannelLayout() const {
  return Query("GetAudioChannelLayout", [](const ScriptedSourceSetup& s) { return s.info.audioChannelLayout; });
}
FrameRate ScriptedSource::GetAudioSampleRate() const {
  return Query("GetAudioSampleRate", [](const ScriptedSourceSetup& s) { return s.info.audioSampleRate; });
}
kilncore::WideString ScriptedSource::GetName() const {
  return Query("GetName", [](const ScriptedSourceSetup& s) { return s.info.name; });
}
kilncore::utility::Guid ScriptedSource::GetContentState() const {
  return Query("GetContentState", [](const ScriptedSourceSetup& s) { return s.info.contentState; });
}
kilncore::utility::Guid ScriptedSource::GetID() const {
  return Query("GetID", [](const ScriptedSourceSetup& s) { return s.info.sourceID; });
}
File ScriptedSource::GetParentProjectFile() const {
  return Query("GetParentProjectFile", [](const ScriptedSourceSetup& s) { return s.info.file; });
}

void ScriptedSource::GetVideoRenderer(VideoRendererCallback callback, const VideoRenderOptions& options) {
  auto ticket = Begin(Operation::kGetVideoRenderer, Key(), GetVideoRendererArgs{options});
  std::shared_ptr<VideoRenderer> renderer =
      std::make_shared<ScriptedVideoRenderer>(Backend(), Key(), Snapshot().frameBytes);
  Finish(ticket, Operation::kGetVideoRenderer, Key(),
         [callback = std::move(callback), renderer](const Behaviour& behaviour) {
           callback(behaviour.status, Pick(behaviour, renderer));
         });
}

void ScriptedSource::GetAudioRenderer(AudioRendererCallback callback, const AudioRenderOptions& options,
                                      const RatioTime& position, uint32_t blockSamples) {
  auto ticket =
      Begin(Operation::kGetAudioRenderer, Key(), GetAudioRendererArgs{options, position, blockSamples});
  std::shared_ptr<AudioRenderer> renderer =
      std::make_shared<ScriptedAudioRenderer>(Backend(), Key(), options, position, blockSamples,
                                              Snapshot().audioBlockBytes);
  Finish(ticket, Operation::kGetAudioRenderer, Key(),
         [callback = std::move(callback), renderer](const Behaviour& behaviour) {
           callback(behaviour.status, Pick(behaviour, renderer));
         });
}

void ScriptedSource::SendRequest(const std::any& call, ReplyCallback onReply, ErrorCallback onError) {
  auto ticket = Begin(Operation::kSendRequest, Key(), SendRequestArgs{call});
  RequestOutcome outcome;
  outcome.reply = MakeAny(AnyObject{});
  if (ticket.backend) {
    outcome = ticket.backend->Respond(call);
  }
  const auto number = static_cast<int64_t>(ticket.backend ? ticket.backend->CallCount(Operation::kSendRequest) : 0);
  Finish(ticket, Operation::kSendRequest, Key(),
         [onReply = std::move(onReply), onError = std::move(onError), outcome, number](const Behaviour& behaviour) {
           if (behaviour.status != 0) {
             if (onError) {
               onError(behaviour.status, behaviour.errorMessage, number);
             }
           } else if (outcome.errorCode != 0) {
             if (onError) {
               onError(outcome.errorCode, outcome.errorMessage, number);
             }
           } else if (onReply) {
             onReply(behaviour.nullResult ? nullptr : outcome.reply, number);
           }
         });
}

void ScriptedSource::RenderXMP(const RatioTime& start, const RatioTime& duration, XMPCallback callback) {
  auto ticket = Begin(Operation::kRenderXMP, Key(), RenderXMPArgs{start, duration});
  Finish(ticket, Operation::kRenderXMP, Key(),
         [callback = std::move(callback), xmp = Snapshot().xmp](const Behaviour& behaviour) {
           callback(behaviour.status, PickValue(behaviour, xmp));
         });
}

void ScriptedSource::GetCaptionData(CaptionDataCallback callback) {
  auto ticket = Begin(Operation::kGetCaptionData, Key());
  Finish(ticket, Operation::kGetCaptionData, Key(),
         [callback = std::move(callback), data = Snapshot().captionData](const Behaviour& behaviour) {
           callback(behaviour.status, PickValue(behaviour, data));
         });
}

void ScriptedSource::SetCaptionSelectionData(const CaptionSelectionData& selection, BoolCallback callback) {
  auto ticket = Begin(Operation::kSetCaptionSelectionData, Key(), SetCaptionSelectionDataArgs{selection});
  Finish(ticket, Operation::kSetCaptionSelectionData, Key(),
         [callback = std::move(callback), result = Snapshot().captionSelectionResult](const Behaviour& behaviour) {
           callback(behaviour.status, PickValue(behaviour, result));
         });
}

void ScriptedSource::DoesSourceContainLink(BoolCallback callback) {
  auto ticket = Begin(Operation::kDoesSourceContainLink, Key());
  Finish(ticket, Operation::kDoesSourceContainLink, Key(),
         [callback = std::move(callback), linked = Snapshot().containsLink](const Behaviour& behaviour) {
           callback(behaviour.status, PickValue(behaviour, linked));
         });
}

void ScriptedSource::GetRuntimeGuid(GuidCallback callback) {
  auto ticket = Begin(Operation::kGetRuntimeGuid, Key());
  Finish(ticket, Operation::kGetRuntimeGuid, Key(),
         [callback = std::move(callback), id = Snapshot().runtimeGuid](const Behaviour& behaviour) {
           callback(behaviour.status, PickValue(behaviour, id));
         });
}

}  // namespace tether::testing
