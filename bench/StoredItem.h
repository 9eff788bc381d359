#pragma once

#include <tether/Source.h>
#include <tether/SourceInfo.h>

#include <utility>

namespace tetherbench {

// An item that answers every getter from a stored description at once and
// every asynchronous call by doing nothing. Benchmarks of the module's own
// roads run over it, so that what they measure is the module, not a server or
// the scripted double's call recording. A benchmark that needs a call
// answered overrides it.
class StoredItem : public tether::Source {
 public:
  explicit StoredItem(tether::SourceInfo info) : mInfo(std::move(info)) {}

  const tether::SourceInfo& GetSourceInfo() const override { return mInfo; }
  void Init(const tether::SourceInfo&, InitCallback) override {}
  tether::RatioTime GetDuration() const override { return mInfo.duration; }
  tether::RatioTime GetStartTime() const override { return mInfo.startTime; }
  tether::RatioTime GetTickCount() const override { return mInfo.tickCount; }
  tether::RatioTime GetWorkInPoint() const override { return mInfo.workInPoint; }
  tether::RatioTime GetWorkOutPoint() const override { return mInfo.workOutPoint; }
  tether::FrameRate GetFrameRate() const override { return mInfo.frameRate; }
  bool IsDropFrame() const override { return false; }
  tether::FrameRect GetFrameSize() const override {
    return tether::FrameRect{0, 0, static_cast<int32_t>(mInfo.width), static_cast<int32_t>(mInfo.height)};
  }
  tether::PixelAspectRatio GetPixelAspectRatio() const override { return mInfo.pixelAspectRatio; }
  tether::FieldType GetFieldType() const override { return mInfo.fieldType; }
  tether::FieldType GetNativeFieldType() const override { return mInfo.fieldType; }
  std::vector<tether::PixelFormat> GetNativePixelFormats() const override { return mInfo.nativePixelFormats; }
  float GetAlphaMatteColorR() const override { return 0; }
  float GetAlphaMatteColorG() const override { return 0; }
  float GetAlphaMatteColorB() const override { return 0; }
  bool HasFrozenUnstretchableRegions() const override { return false; }
  bool HasVideo() const override { return mInfo.hasVideo; }
  bool HasAudio() const override { return mInfo.hasAudio; }
  std::vector<tether::AudioChannelLabel> GetAudioChannelLayout() const override { return mInfo.audioChannelLayout; }
  tether::FrameRate GetAudioSampleRate() const override { return mInfo.audioSampleRate; }
  kilncore::WideString GetName() const override { return mInfo.name; }
  kilncore::utility::Guid GetContentState() const override { return mInfo.contentState; }
  kilncore::utility::Guid GetID() const override { return mInfo.sourceID; }
  tether::File GetParentProjectFile() const override { return mInfo.file; }
  void GetVideoRenderer(VideoRendererCallback, const tether::VideoRenderOptions&) override {}
  void GetAudioRenderer(AudioRendererCallback, const tether::AudioRenderOptions&, const tether::RatioTime&,
                        uint32_t) override {}
  void SendRequest(const std::any&, ReplyCallback, ErrorCallback) override {}
  void RenderXMP(const tether::RatioTime&, const tether::RatioTime&, XMPCallback) override {}
  void GetCaptionData(CaptionDataCallback) override {}
  void SetCaptionSelectionData(const tether::CaptionSelectionData&, BoolCallback) override {}
  void DoesSourceContainLink(BoolCallback) override {}
  void GetRuntimeGuid(GuidCallback) override {}

 private:
  tether::SourceInfo mInfo;
};

}  // namespace tetherbench
