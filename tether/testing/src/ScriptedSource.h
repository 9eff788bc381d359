#pragma once

#include "ScriptedObject.h"

#include <tether/Source.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace tether::testing {

// A source of the double. The getters answer from the setup's SourceInfo, as
// ScriptedSourceSetup describes.
class ScriptedSource : public Source, protected ScriptedObject {
 public:
  // A source for `key` from the backend's setup, with `id` as its identifier if
  // the setup gives none; registered so that UpdateSource reaches it. Null
  // without a backend.
  static std::shared_ptr<ScriptedSource> Make(const std::shared_ptr<ScriptedBackend>& backend,
                                              const std::weak_ptr<ScriptedBackend>& weak, const std::string& key,
                                              const std::optional<kilncore::utility::Guid>& id);

  ScriptedSource(std::weak_ptr<ScriptedBackend> backend, std::string key, ScriptedSourceSetup setup);

  // Applies a change of the setup (ScriptedBackend::UpdateSource).
  void Update(const std::function<void(ScriptedSourceSetup&)>& change);

  const SourceInfo& GetSourceInfo() const override;
  void Init(const SourceInfo& info, InitCallback callback) override;

  RatioTime GetDuration() const override;
  RatioTime GetStartTime() const override;
  RatioTime GetTickCount() const override;
  RatioTime GetWorkInPoint() const override;
  RatioTime GetWorkOutPoint() const override;
  FrameRate GetFrameRate() const override;
  bool IsDropFrame() const override;
  FrameRect GetFrameSize() const override;
  PixelAspectRatio GetPixelAspectRatio() const override;
  FieldType GetFieldType() const override;
  FieldType GetNativeFieldType() const override;
  std::vector<PixelFormat> GetNativePixelFormats() const override;
  float GetAlphaMatteColorR() const override;
  float GetAlphaMatteColorG() const override;
  float GetAlphaMatteColorB() const override;
  bool HasFrozenUnstretchableRegions() const override;
  bool HasVideo() const override;
  bool HasAudio() const override;
  std::vector<AudioChannelLabel> GetAudioChannelLayout() const override;
  FrameRate GetAudioSampleRate() const override;
  kilncore::WideString GetName() const override;
  kilncore::utility::Guid GetContentState() const override;
  kilncore::utility::Guid GetID() const override;
  File GetParentProjectFile() const override;

  void GetVideoRenderer(VideoRendererCallback callback, const VideoRenderOptions& options) override;
  void GetAudioRenderer(AudioRendererCallback callback, const AudioRenderOptions& options,
                        const RatioTime& position, uint32_t blockSamples) override;
  void SendRequest(const std::any& call, ReplyCallback onReply, ErrorCallback onError) override;
  void RenderXMP(const RatioTime& start, const RatioTime& duration, XMPCallback callback) override;
  void GetCaptionData(CaptionDataCallback callback) override;
  void SetCaptionSelectionData(const CaptionSelectionData& selection, BoolCallback callback) override;
  void DoesSourceContainLink(BoolCallback callback) override;
  void GetRuntimeGuid(GuidCallback callback) override;

 private:
  // Records the getter and reads the current description under the lock.
  template <class Read>
  auto Query(const char* getter, Read read) const;
  ScriptedSourceSetup Snapshot() const;

  mutable std::mutex mMutex;
  ScriptedSourceSetup mSetup;
  // Every description the source has had: GetSourceInfo's reference stays
  // valid after Init or Update replaced the current one.
  std::vector<std::unique_ptr<const SourceInfo>> mInfos;
};

}  // namespace tether::testing
