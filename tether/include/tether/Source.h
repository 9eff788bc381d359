#pragma once

#include <tether/AnyTree.h>
#include <tether/AudioRenderOptions.h>
#include <tether/CaptionData.h>
#include <tether/CaptionSelectionData.h>
#include <tether/ConnectionStatus.h>
#include <tether/File.h>
#include <tether/MediaTypes.h>
#include <tether/SourceInfo.h>
#include <tether/VideoRenderOptions.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <any>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tether {

class AudioRenderer;
class VideoRenderer;

// The client-side handle of one item inside its server.
//
// The getters are cheap and local: they answer from the description that the
// server gave. Operations with a callback talk to the server: the callback is
// called once, later, on a thread of the library.
class Source {
 public:
  using InitCallback = std::function<void(const kilncore::utility::Guid&)>;
  using VideoRendererCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<VideoRenderer>&)>;
  using AudioRendererCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<AudioRenderer>&)>;
  // The reply tree and the request's number.
  using ReplyCallback = std::function<void(std::shared_ptr<std::any> reply, int64_t requestNumber)>;
  // The failure code, a message and the request's number.
  using ErrorCallback =
      std::function<void(int code, const kilncore::WideString& message, int64_t requestNumber)>;
  using XMPCallback = std::function<void(ConnectionStatus, const std::string& packet)>;
  using CaptionDataCallback = std::function<void(ConnectionStatus, const CaptionData&)>;
  using BoolCallback = std::function<void(ConnectionStatus, bool)>;
  using GuidCallback = std::function<void(ConnectionStatus, const kilncore::utility::Guid&)>;

  virtual ~Source() = default;

  // The current description. The reference stays valid for the source's life,
  // even after Init has replaced the description.
  virtual const SourceInfo& GetSourceInfo() const = 0;
  // Gives the source a new description (a patched size, say): later frames come
  // at the new size. `callback`, which may be empty, is called with a new
  // identifier of the item if the server gives it one.
  virtual void Init(const SourceInfo& info, InitCallback callback) = 0;

  virtual RatioTime GetDuration() const = 0;
  virtual RatioTime GetStartTime() const = 0;
  virtual RatioTime GetTickCount() const = 0;
  virtual RatioTime GetWorkInPoint() const = 0;
  virtual RatioTime GetWorkOutPoint() const = 0;
  virtual FrameRate GetFrameRate() const = 0;
  virtual bool IsDropFrame() const = 0;
  virtual FrameRect GetFrameSize() const = 0;
  virtual PixelAspectRatio GetPixelAspectRatio() const = 0;
  virtual FieldType GetFieldType() const = 0;
  virtual FieldType GetNativeFieldType() const = 0;
  virtual std::vector<PixelFormat> GetNativePixelFormats() const = 0;
  // The matte colour of straight alpha, each in 0..1.
  virtual float GetAlphaMatteColorR() const = 0;
  virtual float GetAlphaMatteColorG() const = 0;
  virtual float GetAlphaMatteColorB() const = 0;
  virtual bool HasFrozenUnstretchableRegions() const = 0;
  virtual bool HasVideo() const = 0;
  virtual bool HasAudio() const = 0;
  virtual std::vector<AudioChannelLabel> GetAudioChannelLayout() const = 0;
  virtual FrameRate GetAudioSampleRate() const = 0;
  virtual kilncore::WideString GetName() const = 0;
  virtual kilncore::utility::Guid GetContentState() const = 0;
  virtual kilncore::utility::Guid GetID() const = 0;
  virtual File GetParentProjectFile() const = 0;

  // A renderer for exactly these options.
  virtual void GetVideoRenderer(VideoRendererCallback callback, const VideoRenderOptions& options) = 0;
  // An audio reader opened at `position`, handing out blocks of about
  // `blockSamples` samples over all channels.
  virtual void GetAudioRenderer(AudioRendererCallback callback, const AudioRenderOptions& options,
                                const RatioTime& position, uint32_t blockSamples) = 0;
  // A named call with JSON-like arguments (AnyTree.h). Exactly one of `onReply`
  // and `onError` is called, once, later.
  virtual void SendRequest(const std::any& call, ReplyCallback onReply, ErrorCallback onError) = 0;
  // The XMP packet of the span [start, start + duration); empty if there is none.
  virtual void RenderXMP(const RatioTime& start, const RatioTime& duration, XMPCallback callback) = 0;
  virtual void GetCaptionData(CaptionDataCallback callback) = 0;
  virtual void SetCaptionSelectionData(const CaptionSelectionData& selection, BoolCallback callback) = 0;
  // Whether the item itself contains a link to another item.
  virtual void DoesSourceContainLink(BoolCallback callback) = 0;
  // The identifier of the item's runtime (font) state.
  virtual void GetRuntimeGuid(GuidCallback callback) = 0;
};

}  // namespace tether
