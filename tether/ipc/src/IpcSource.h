#pragma once

#include "RemoteObject.h"

#include <tether/AudioRenderer.h>
#include <tether/Source.h>
#include <tether/VideoRenderer.h>

#include <atomic>
#include <deque>
#include <mutex>

namespace tether::ipc {

// An item of a server. Its description is kept here, so that the getters are
// local; everything with a callback goes to the server.
class IpcSource : public Source, protected RemoteObject {
 public:
  IpcSource(std::shared_ptr<Connection> connection, uint64_t handle, SourceInfo info);

  // The source of a reply ({"handle", "info"}).
  static std::shared_ptr<Source> FromReply(const std::shared_ptr<Connection>& connection, const Reply& reply);

  const SourceInfo& GetSourceInfo() const override;
  // `callback` is called once: with the identifier the server gives, or with
  // the nil Guid if it gives none or the call fails.
  void Init(const SourceInfo& info, InitCallback callback) override;
  RatioTime GetDuration() const override { return Info().duration; }
  RatioTime GetStartTime() const override { return Info().startTime; }
  RatioTime GetTickCount() const override { return Info().tickCount; }
  RatioTime GetWorkInPoint() const override { return Info().workInPoint; }
  RatioTime GetWorkOutPoint() const override { return Info().workOutPoint; }
  FrameRate GetFrameRate() const override { return Info().frameRate; }
  bool IsDropFrame() const override { return Info().isDropFrame; }
  FrameRect GetFrameSize() const override;
  PixelAspectRatio GetPixelAspectRatio() const override { return Info().pixelAspectRatio; }
  FieldType GetFieldType() const override { return Info().fieldType; }
  FieldType GetNativeFieldType() const override { return Info().fieldType; }
  std::vector<PixelFormat> GetNativePixelFormats() const override { return Info().nativePixelFormats; }
  float GetAlphaMatteColorR() const override { return Info().matteColorR; }
  float GetAlphaMatteColorG() const override { return Info().matteColorG; }
  float GetAlphaMatteColorB() const override { return Info().matteColorB; }
  bool HasFrozenUnstretchableRegions() const override { return Info().hasFrozenUnstretchableRegions; }
  bool HasVideo() const override { return Info().hasVideo; }
  bool HasAudio() const override { return Info().hasAudio; }
  std::vector<AudioChannelLabel> GetAudioChannelLayout() const override { return Info().audioChannelLayout; }
  FrameRate GetAudioSampleRate() const override { return Info().audioSampleRate; }
  kilncore::WideString GetName() const override { return Info().name; }
  kilncore::utility::Guid GetContentState() const override { return Info().contentState; }
  kilncore::utility::Guid GetID() const override { return Info().sourceID; }
  File GetParentProjectFile() const override { return Info().file; }

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
  // The current description. Descriptions are never changed or dropped once
  // stored, so the reference stays valid after the lock.
  const SourceInfo& Info() const;

  mutable std::mutex mMutex;
  // Every description this source had: references handed out stay valid.
  std::deque<std::unique_ptr<SourceInfo>> mInfos;
  std::atomic<int64_t> mNextRequestNumber{1};
};

// A server-side video renderer for one set of options.
class IpcVideoRenderer : public VideoRenderer, protected RemoteObject {
 public:
  using RemoteObject::RemoteObject;
  void RenderVideo(RenderCallback callback, const kilncore::utility::Guid& identifier,
                   const RatioTime& time) override;
  void CancelVideoRender(const kilncore::utility::Guid& identifier) override;

 private:
  std::string CancelKey(const kilncore::utility::Guid& identifier) const;
};

// A server-side audio reader.
class IpcAudioRenderer : public AudioRenderer, protected RemoteObject {
 public:
  using RemoteObject::RemoteObject;
  void RenderAudio(RenderCallback callback, const kilncore::utility::Guid& identifier) override;
};

}  // namespace tether::ipc
