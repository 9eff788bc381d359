#pragma once

#include <mediainfo/BaseMediaInfo.h>

#include <KL/IVideoSource.h>
#include <RL/ISource.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/Guid.h>
#include <tether/Source.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace TetherMedia::testing {

inline constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
inline constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);
inline constexpr int32_t kNotOffered = static_cast<int32_t>(0xA00F000Cu);
inline constexpr int32_t kBrokenPromise = static_cast<int32_t>(0xF3610001u);
inline constexpr int32_t kNotReady = static_cast<int32_t>(0xF3610002u);
inline constexpr int32_t kFutureIsCancelled = static_cast<int32_t>(0xF3610004u);
inline constexpr int32_t kTerminationStarted = static_cast<int32_t>(0xF3610008u);

// A client-library source that answers from plain fields, and counts and
// records what is asked of it. Fields are set before the source is shared.
class FakeSource : public tether::Source {
 public:
  tether::SourceInfo info;
  tether::RatioTime startTime{0, 1};
  tether::RatioTime tickCount{0, 1};
  tether::RatioTime workIn{0, 1};
  tether::RatioTime workOut{0, 1};
  tether::FrameRate frameRate = tether::kNoFrameRate;
  bool dropFrame = false;
  bool hasVideo = false;
  bool hasAudio = false;
  std::atomic<int> initCalls{0};
  bool initGotCallback = false;
  std::atomic<int> getterCalls{0};
  // Runs inside every getter, for tests that look at the item while the
  // source is being asked.
  std::function<void()> onQuery;

  const tether::SourceInfo& GetSourceInfo() const override {
    Count(0);
    return info;
  }
  void Init(const tether::SourceInfo& newInfo, InitCallback callback) override {
    ++initCalls;
    initGotCallback = static_cast<bool>(callback);
    info = newInfo;
  }
  tether::RatioTime GetDuration() const override { return info.duration; }
  tether::RatioTime GetStartTime() const override { return Count(startTime); }
  tether::RatioTime GetTickCount() const override { return Count(tickCount); }
  tether::RatioTime GetWorkInPoint() const override { return Count(workIn); }
  tether::RatioTime GetWorkOutPoint() const override { return Count(workOut); }
  tether::FrameRate GetFrameRate() const override { return Count(frameRate); }
  bool IsDropFrame() const override { return Count(dropFrame); }
  tether::FrameRect GetFrameSize() const override { return {}; }
  tether::PixelAspectRatio GetPixelAspectRatio() const override { return {}; }
  tether::FieldType GetFieldType() const override { return {}; }
  tether::FieldType GetNativeFieldType() const override { return {}; }
  std::vector<tether::PixelFormat> GetNativePixelFormats() const override { return {}; }
  float GetAlphaMatteColorR() const override { return 0; }
  float GetAlphaMatteColorG() const override { return 0; }
  float GetAlphaMatteColorB() const override { return 0; }
  bool HasFrozenUnstretchableRegions() const override { return false; }
  bool HasVideo() const override { return Count(hasVideo); }
  bool HasAudio() const override { return Count(hasAudio); }
  std::vector<tether::AudioChannelLabel> GetAudioChannelLayout() const override { return {}; }
  tether::FrameRate GetAudioSampleRate() const override { return tether::kNoFrameRate; }
  kilncore::WideString GetName() const override { return info.name; }
  kilncore::utility::Guid GetContentState() const override { return info.contentState; }
  kilncore::utility::Guid GetID() const override { return info.sourceID; }
  tether::File GetParentProjectFile() const override { return info.file; }
  void GetVideoRenderer(VideoRendererCallback, const tether::VideoRenderOptions&) override {}
  void GetAudioRenderer(AudioRendererCallback, const tether::AudioRenderOptions&,
                        const tether::RatioTime&, uint32_t) override {}
  void SendRequest(const std::any&, ReplyCallback, ErrorCallback) override {}
  void RenderXMP(const tether::RatioTime&, const tether::RatioTime&, XMPCallback) override {}
  void GetCaptionData(CaptionDataCallback) override {}
  void SetCaptionSelectionData(const tether::CaptionSelectionData&, BoolCallback) override {}
  void DoesSourceContainLink(BoolCallback) override {}
  void GetRuntimeGuid(GuidCallback) override {}

 private:
  template <class T>
  T Count(T value) const {
    ++const_cast<FakeSource*>(this)->getterCalls;
    if (onQuery) onQuery();
    return value;
  }
};

// A stream object: the video interface and RL::ISource, as the item's stream
// object offers both. Only what the item asks of it is scripted.
class FakeVideoSource : public KL::IVideoSource, public RL::ISource {
 public:
  kilncore::utility::Guid contentState;
  int32_t contentStateResult = 0;
  kilnmediatypes::PixelAspectRatio pixelAspectRatio;
  kilnmediatypes::FieldType fieldType = kilnmediatypes::kFieldType_Progressive;

  int32_t GetContentState(kilncore::utility::Guid& out) override {
    out = contentState;
    return contentStateResult;
  }
  int32_t GetPixelAspectRatio(kilnmediatypes::PixelAspectRatio& out) override {
    out = pixelAspectRatio;
    return 0;
  }
  kilnmediatypes::FieldType GetFieldType() override { return fieldType; }

  int32_t GetDuration(kilnmediatypes::TickTime&) override { return 0; }
  int32_t GetTimeStretchFlags(uint32_t&) override { return 0; }
  int32_t CancelPendingRequests() override { return 0; }
  int32_t GetSourceRef(kilncore::classref::InterfaceRef<RL::ISource>&) override { return 0; }

  int32_t GetFrameRate(kilnmediatypes::FrameRate&) override { return {}; }
  int32_t GetFrameSize(RL::RectT<int>&) override { return {}; }
  int32_t GetVideoKind() override { return {}; }
  int32_t GetVideoExtent(std::pair<int64_t, int64_t>&) override { return {}; }
  bool VideoQueryA() override { return {}; }
  kilnmediatypes::FieldType GetNativeFieldType() override { return {}; }
  bool VideoQueryB() override { return {}; }
  int32_t GetAlphaKind() override { return {}; }
  bool VideoQueryC() override { return {}; }
  bool HasMatteAlpha() override { return {}; }
  int32_t GetAlphaMatteColor(std::array<uint8_t, 3>&) override { return {}; }
  bool VideoQueryD() override { return {}; }
  int32_t GetNativePixelFormats(std::vector<kilnmediatypes::PixelFormat>&) override { return {}; }
  void VideoNoOpA() override {}
  void SetSequenceTag(uint32_t) override {}
  bool MatchesSequenceTag(uint32_t) override { return {}; }
  bool GetAlternateIdentifier(kilncore::utility::Guid&) override { return {}; }
  bool VideoQueryE() override { return {}; }
  uint32_t GetSourceCode() override { return {}; }
  int32_t GetSourceDescription(kilncore::WideString&) override { return {}; }
  bool VideoQueryF() override { return {}; }
  int32_t AttachFrameA(kilnmediatypes::TickTime, const RL::FrameFormat&, Frame) override { return {}; }
  bool VideoQueryG() override { return {}; }
  int32_t AttachFrameB(kilnmediatypes::TickTime, const RL::FrameFormat&, Frame) override { return {}; }
  int32_t GetFrameWithHint(kilnmediatypes::TickTime, const RL::FrameFormat&, const RL::BinaryData&, int32_t, bool, Frame&) override { return {}; }
  int32_t GetFrame(kilnmediatypes::TickTime, const RL::FrameFormat&, const RL::BinaryData&, bool, Frame&) override { return {}; }
  bool VideoQueryH() override { return {}; }
  bool VideoQueryI() override { return {}; }
  int32_t VideoCountA() override { return {}; }
  int32_t GetVideoOffset(int64_t&) override { return {}; }
  bool VideoQueryJ() override { return {}; }
  int32_t SelectFrameFormatWithHint(kilnmediatypes::TickTime, RL::FrameFormat&, int32_t) override { return {}; }
  int32_t SelectFrameFormat(kilnmediatypes::TickTime, RL::FrameFormat&) override { return {}; }
  int32_t GetIdentifierForSourceVideo(kilncore::utility::Guid&, kilnmediatypes::TickTime, const RL::FrameFormat&, const RL::BinaryData&) override { return {}; }
  int32_t GetDefaultIdentifier(kilncore::utility::Guid&) override { return {}; }
  bool IsColorManagedExternally() override { return {}; }
  bool HasColorSpace() override { return {}; }
  int32_t GetColorSpace(kilnmediatypes::color::ColorSpace&) override { return {}; }
  int32_t AppendColorSpaces(const RL::BinaryData&, std::vector<kilnmediatypes::color::ColorSpace>&) override { return {}; }
  int32_t GetDefaultColorSpaceA(kilnmediatypes::color::ColorSpace&) override { return {}; }
  int32_t GetPreferredColorSpace(kilnmediatypes::color::ColorSpace&) override { return {}; }
  bool VideoQueryK() override { return {}; }
  int32_t GetVideoSpan(TimeSpan&, kilnmediatypes::TickTime, kilnmediatypes::TickTime, bool&) override { return {}; }
  int32_t GetVideoLabel(kilncore::utility::ImmutableString&) override { return {}; }
  int32_t VideoCountB() override { return {}; }
  int32_t VideoCountC() override { return {}; }
  int32_t VideoCountD() override { return {}; }
  int32_t VideoCountE() override { return {}; }
  bool VideoQueryL() override { return {}; }
  int32_t GetVideoFormatRecord(KL::VideoFormatRecord&) override { return {}; }
  int32_t VideoCountF() override { return {}; }
  int32_t GetRuntimeFontGuid(kilncore::utility::Guid&) override { return {}; }
  bool VideoQueryM() override { return {}; }
  int32_t GetDefaultColorSpaceB(kilnmediatypes::color::ColorSpace&) override { return {}; }
  int32_t GetColorProfile(kilnmediatypes::ColorProfile&) override { return {}; }
  int32_t GetDefaultIdentifierB(kilncore::utility::Guid&) override { return {}; }
  bool VideoQueryN() override { return {}; }

 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<KL::IVideoSource, RL::ISource>(this, name);
  }
};

// The smallest complete item: the operations that a connected item supplies
// answer fixed values here, or what the test scripts.
class TestMediaInfo : public BaseMediaInfo {
 public:
  explicit TestMediaInfo(bool constructorFlag = false) : BaseMediaInfo(constructorFlag) {}

  // What the connected item's link questions answer.
  std::map<kilncore::utility::Guid, bool> linkedSources;
  bool nestedLink = false;
  bool projectItemLinked = false;
  std::atomic<int> isSourceLinkedToCalls{0};
  std::atomic<int> hasNestedLinkCalls{0};

  // The item's own state, as the base class keeps it.
  kilncore::threads::RecursiveMutex& Mutex() const { return mMutex; }
  const kilncore::utility::Guid& SourceID() const { return mSourceID; }
  bool HasSource() const { return GetSourceSnapshot() != nullptr; }
  bool HasStreamObject() const { return !mVideoSource.IsNull(); }

  // Setters for what TetherMediaInfo writes at creation and connection.
  void SetIdentity(kilncore::WideString path, kilncore::utility::Guid sourceID) {
    mFilePath = std::move(path);
    mSourceID = sourceID;
  }
  void SetSource(std::shared_ptr<tether::Source> source) {
    kilncore::threads::ScopedRecursiveLock lock(mMutex);
    mSource = std::move(source);
  }
  void SetVideoSource(kilncore::classref::InterfaceRef<KL::IVideoSource> videoSource) {
    kilncore::threads::ScopedRecursiveLock lock(mMutex);
    mVideoSource = std::move(videoSource);
  }
  void SetRequestPromise(kilncore::async::Promise<void> promise) { mRequestPromise = std::move(promise); }
  kilnmediatypes::TickTime WorkAreaIn() const { return mXMPRenderWorkAreaIn; }
  kilnmediatypes::TickTime WorkAreaOut() const { return mXMPRenderWorkAreaOut; }
  bool ForcedConform() const { return mForceConform; }
  bool ConstructorFlag() const { return mConstructorFlag; }
  uint32_t LastFontChangeValue() const { return mLastFontChangeValue; }
  const kilncore::WideString& RenderOptionsText() const { return mRenderOptionsText; }
  void* Query(std::string_view name) { return QueryMap(name); }

  // The protected statics, for the tests.
  using BaseMediaInfo::BindRebroadcastTetherProgress;
  using BaseMediaInfo::BindWaitForDependanceCheck;
  using BaseMediaInfo::BindWaitForRuntimeFontUpdate;
  using BaseMediaInfo::BindWaitForRuntimeGuid;
  using BaseMediaInfo::BindWaitForXMP;
  using BaseMediaInfo::MakeMediaOpaqueData;
  using BaseMediaInfo::RebroadcastTetherProgress;
  using BaseMediaInfo::WaitForDependanceCheck;
  using BaseMediaInfo::WaitForRuntimeFontUpdate;
  using BaseMediaInfo::WaitForRuntimeGuid;
  using BaseMediaInfo::WaitForXMP;

  kilncore::WideString GetMediaDisplayName() const override { return u"Test item"; }
  int32_t CreateSourceForStream(kilncore::utility::Guid, size_t, const RL::BinaryData&,
                                const kilnmediatypes::FrameRate&, const kilncore::WideString&,
                                const kilncore::WideString&, const kilncore::WideString&,
                                const kilncore::WideString&,
                                kilncore::classref::InterfaceRef<RL::ISource>&) const override {
    return kGeneralFailure;
  }
  int32_t GetMediaInfoRef(kilncore::classref::InterfaceRef<KL::IMediaInfo>& out) const override {
    out = kilncore::classref::InterfaceRef<KL::IMediaInfo>::FromThis(const_cast<TestMediaInfo*>(this));
    return 0;
  }
  int32_t OpenPreferences(RL::BinaryData&, std::map<kilncore::WideString, kilncore::WideString>&,
                          size_t, kilncore::classref::InterfaceRef<KL::ISequence>,
                          const kilnmediatypes::TickTime&, size_t, kilncore::WideString&) override {
    return kGeneralFailure;
  }
  kilncore::classref::InterfaceRef<BaseMediaInfo> GetBaseMediaInfoRef() const override {
    return kilncore::classref::InterfaceRef<BaseMediaInfo>::FromThis(const_cast<TestMediaInfo*>(this));
  }
  kilncore::WideString GetSourceName() const override { return u"Test source"; }
  int32_t RefreshFile(const kilncore::WideString&) override { return 0; }
  int32_t ReadXMP(bool, bool, int32_t, RL::BinaryData&) override { return kGeneralFailure; }
  bool GetUsePreviewFiles() override { return false; }
  void SetUsePreviewFiles(bool) override {}
  bool GetMaximumRenderQuality() override { return false; }
  bool IsSourceLinkedTo(kilncore::utility::Guid id) override {
    ++isSourceLinkedToCalls;
    auto found = linkedSources.find(id);
    return found != linkedSources.end() && found->second;
  }
  bool IsProjectItemLinked(kilncore::classref::InterfaceRef<KL::IProjectItem>) override {
    return projectItemLinked;
  }
  bool HasNestedLink() override {
    ++hasNestedLinkCalls;
    return nestedLink;
  }
  int32_t GetCaptioningSource(kilncore::classref::InterfaceRef<KL::ICaptioningSource>&) override {
    return 0;
  }
  void SelectCaptionStream(uint64_t) override {}
  uint64_t GetSelectedCaptionStream() override { return 0; }
};

}  // namespace TetherMedia::testing
