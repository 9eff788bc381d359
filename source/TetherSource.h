#pragma once

#include <source/AcceleratedRange.h>
#include <source/ClipStreamEntry.h>
#include <source/NamedRequests.h>
#include <source/PendingRender.h>
#include <source/VideoRendererEntry.h>

#include <DR/IAudioSource.h>
#include <DR/ISequentialAudioSource.h>
#include <KL/IAsyncVideoSource.h>
#include <KL/IVideoSource.h>
#include <RL/IRenderableExtendedStillInfo.h>
#include <RL/ISmartRenderSegmentInfo.h>
#include <RL/ISource.h>

#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilncore/allocator/MemoryRecycler.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/serialization/JSONTypes.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/Guid.h>
#include <tether/AudioRenderer.h>
#include <tether/Source.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TetherMedia {

// The stream object of one linked item: the host's video, background-video,
// audio, still-range and smart-render interfaces, all answered by a
// tether::Source in the owning application's server.
//
// It owns no pixels. It turns the host's synchronous questions into server
// calls, keeps a table of frames in flight and a pool of server renderers, and
// computes the identifiers under which frames are shared in the host-wide
// frame cache.
//
// Always held by InterfaceRef, made by Create. Every operation may be called
// from any thread. Locks, from the outside in: mAudioReadMutex, then
// mStateMutex; mRequestMutex is a leaf. No lock is held while waiting for the
// server.
class TetherSource final : public RL::ISource,
                           public KL::IVideoSource,
                           public KL::IAsyncVideoSource,
                           public DR::IAudioSource,
                           public DR::ISequentialAudioSource,
                           public RL::IRenderableExtendedStillInfo,
                           public RL::ISmartRenderSegmentInfo {
 public:
  using Frame = kilncore::classref::InterfaceRef<RL::IPane>;
  using Request = kilncore::async::FuturePromisePair<void>;
  using TimeRange = std::pair<kilnmediatypes::TickTime, kilnmediatypes::TickTime>;

  // How RequestFrame serves a frame.
  enum class RequestMode : int32_t {
    kCacheOnly = 0,   // look in the frame cache, never render
    kBlocking = 1,    // render if needed and wait for the frame
    kBackground = 2,  // start the render and return
  };

  // A frame is given up at this many failed attempts.
  static constexpr int32_t kMaxRenderAttempts = 3;
  // How long the frame cache is asked to keep a rendered frame.
  static constexpr uint32_t kFrameCacheRetention = 10;
  // The status of a render that was cancelled here.
  static constexpr int32_t kRenderCanceledStatus = -6;
  // No frame, no renderer.
  static constexpr int32_t kRenderFailed = static_cast<int32_t>(0xA00F0001u);
  static constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);
  // Answer of operations that a linked source doesn't offer.
  static constexpr int32_t kNotOffered = static_cast<int32_t>(0xA00F000Cu);
  // GetTimeStretchFlags when the item has regions that must not be stretched.
  static constexpr uint32_t kFrozenUnstretchableRegionsFlag = 4;

  // Makes a source over `source`; `clipID` is 0 for an item's own source, or
  // the clip of a per-clip source of smart rendering. Registers the item's
  // colour space, if it has one, with the host's colour space cache. Returns 0.
  static int32_t Create(kilncore::classref::InterfaceRef<TetherSource>& outSource,
                        std::shared_ptr<tether::Source> source, uint32_t clipID);

  // Only for Create (std::make_shared needs a public constructor).
  struct ConstructionKey {
    explicit ConstructionKey() = default;
  };
  TetherSource(ConstructionKey, std::shared_ptr<tether::Source> source, uint32_t clipID);
  ~TetherSource() override;

  TetherSource(const TetherSource&) = delete;
  TetherSource& operator=(const TetherSource&) = delete;

  // --- Configuration, from the item that owns this source.

  // Replaces the server-side item (after a refresh). Renders already under
  // way keep the item they started with; the renderer pool is kept. The
  // accelerated data and the still ranges are fetched again on next use.
  void SetSource(std::shared_ptr<tether::Source> source);
  // The current server-side item; may be null only if it was set so.
  std::shared_ptr<tether::Source> GetSource();

  // Forwarded to every video render; a change makes the accelerated data be
  // fetched again.
  void SetUsePreviewFiles(bool use);
  void SetUseProxies(bool use);
  bool GetUsePreviewFiles() const;
  bool GetUseProxies() const;

  // The font state of the linked project; part of every frame identifier once
  // it isn't nil.
  void SetRuntimeFontGuid(const kilncore::utility::Guid& fontGuid);

  kilncore::WideString GetName();
  bool HasFrozenUnstretchableRegions();
  uint32_t GetClipID() const { return mClipID; }

  // --- RL::ISource

  int32_t GetDuration(kilnmediatypes::TickTime& outDuration) override;
  int32_t GetTimeStretchFlags(uint32_t& outFlags) override;
  // Ends every wait of this source at once with "User Canceled" (0xA00F0007):
  // blocking renders, renderer creations, audio reads, server requests. The
  // table of frames in flight is left alone: late answers find it as usual.
  int32_t CancelPendingRequests() override;
  int32_t GetSourceRef(kilncore::classref::InterfaceRef<RL::ISource>& outSource) override;

  // --- KL::IVideoSource

  int32_t GetFrameRate(kilnmediatypes::FrameRate& out) override;
  int32_t GetFrameSize(RL::RectT<int>& out) override;
  int32_t GetVideoKind() override;
  int32_t GetVideoExtent(std::pair<int64_t, int64_t>& out) override;
  int32_t GetPixelAspectRatio(kilnmediatypes::PixelAspectRatio& out) override;
  bool VideoQueryA() override;
  kilnmediatypes::FieldType GetFieldType() override;
  kilnmediatypes::FieldType GetNativeFieldType() override;
  bool VideoQueryB() override;
  int32_t GetAlphaKind() override;
  bool VideoQueryC() override;
  bool HasMatteAlpha() override;
  // The server's matte colour (each 0..1) as the bytes R, G, B.
  int32_t GetAlphaMatteColor(std::array<uint8_t, 3>& out) override;
  bool VideoQueryD() override;
  int32_t GetNativePixelFormats(std::vector<kilnmediatypes::PixelFormat>& out) override;
  void VideoNoOpA() override;
  void SetSequenceTag(uint32_t tag) override;
  bool MatchesSequenceTag(uint32_t tag) override;
  bool GetAlternateIdentifier(kilncore::utility::Guid& out) override;
  bool VideoQueryE() override;
  // "TTHM".
  uint32_t GetSourceCode() override;
  int32_t GetSourceDescription(kilncore::WideString& out) override;
  bool VideoQueryF() override;
  int32_t AttachFrameA(kilnmediatypes::TickTime time, const RL::FrameFormat& format, Frame frame) override;
  bool VideoQueryG() override;
  int32_t AttachFrameB(kilnmediatypes::TickTime time, const RL::FrameFormat& format, Frame frame) override;
  int32_t GetFrameWithHint(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                           const RL::BinaryData& prefs, int32_t hint, bool cacheOnly, Frame& outFrame) override;
  // A frame from the cache (cacheOnly, always 0), or rendered and waited for.
  int32_t GetFrame(kilnmediatypes::TickTime time, const RL::FrameFormat& format, const RL::BinaryData& prefs,
                   bool cacheOnly, Frame& outFrame) override;
  bool VideoQueryH() override;
  bool VideoQueryI() override;
  int32_t VideoCountA() override;
  int32_t GetVideoOffset(int64_t& out) override;
  bool VideoQueryJ() override;
  int32_t SelectFrameFormatWithHint(kilnmediatypes::TickTime time, RL::FrameFormat& inOutFormat,
                                    int32_t hint) override;
  // Settles what the server will deliver for the wanted format; see
  // TetherSourceFormat.cpp for the steps. Returns 0.
  int32_t SelectFrameFormat(kilnmediatypes::TickTime time, RL::FrameFormat& inOutFormat) override;
  // The identifier of these pixels: the key of the frame cache, of the table
  // of frames in flight and of the server's render job. The byte layout is in
  // docs/hashing.md.
  int32_t GetIdentifierForSourceVideo(kilncore::utility::Guid& out, kilnmediatypes::TickTime time,
                                      const RL::FrameFormat& format, const RL::BinaryData& prefs) override;
  int32_t GetDefaultIdentifier(kilncore::utility::Guid& out) override;
  // The server's content state for an item's own source; for a per-clip
  // source, a hash of that state and the clip.
  int32_t GetContentState(kilncore::utility::Guid& out) override;
  bool IsColorManagedExternally() override;
  bool HasColorSpace() override;
  int32_t GetColorSpace(kilnmediatypes::color::ColorSpace& out) override;
  int32_t AppendColorSpaces(const RL::BinaryData& prefs,
                            std::vector<kilnmediatypes::color::ColorSpace>& inOut) override;
  int32_t GetDefaultColorSpaceA(kilnmediatypes::color::ColorSpace& out) override;
  int32_t GetPreferredColorSpace(kilnmediatypes::color::ColorSpace& out) override;
  bool VideoQueryK() override;
  int32_t GetVideoSpan(TimeSpan& out, kilnmediatypes::TickTime a, kilnmediatypes::TickTime b,
                       bool& outFlag) override;
  int32_t GetVideoLabel(kilncore::utility::ImmutableString& out) override;
  int32_t VideoCountB() override;
  int32_t VideoCountC() override;
  int32_t VideoCountD() override;
  int32_t VideoCountE() override;
  bool VideoQueryL() override;
  int32_t GetVideoFormatRecord(KL::VideoFormatRecord& out) override;
  int32_t VideoCountF() override;
  int32_t GetRuntimeFontGuid(kilncore::utility::Guid& out) override;
  bool VideoQueryM() override;
  int32_t GetDefaultColorSpaceB(kilnmediatypes::color::ColorSpace& out) override;
  int32_t GetColorProfile(kilnmediatypes::ColorProfile& out) override;
  int32_t GetDefaultIdentifierB(kilncore::utility::Guid& out) override;
  bool VideoQueryN() override;

  // --- KL::IAsyncVideoSource

  bool CanRenderAsync() override;
  int32_t RenderFrameAsyncAlias(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                                const RL::BinaryData& prefs) override;
  // Starts the render of the frame, unless it is cached or on its way, and
  // returns 0. The frame lands in the frame cache.
  int32_t RenderFrameAsync(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                           const RL::BinaryData& prefs) override;
  // Ends the frame's entry (releasing a waiter with status -6) and asks the
  // server to drop the job if a renderer for those options exists. The time
  // is taken as given, without the stretch adjustment of GetFrame.
  int32_t CancelFrameRender(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                            const RL::BinaryData& prefs) override;
  // Whether the frame stands in the table of frames in flight (time as given).
  bool IsFramePending(kilnmediatypes::TickTime time, const RL::FrameFormat& format, int32_t hint,
                      const RL::BinaryData& prefs) override;
  void AsyncNoOpA() override;
  void AsyncNoOpB() override;

  // --- DR::IAudioSource

  int32_t GetSampleRate(kilnmediatypes::FrameRate& out) override;
  RL::AudioChannelType GetAudioChannelType() override;
  uint32_t GetAudioChannelCount() override;
  int32_t GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) override;
  int32_t GetAudioSourceKind() override;
  // Fills `buffer` with the samples from `position` on. The server's reader
  // only goes forward: it is reopened when `position` isn't where it stands
  // (and always at 0), and the last block is kept so that reading it again
  // costs nothing. Positional reads of one source never overlap: the whole
  // read, waits included, holds mAudioReadMutex. An item without renderable
  // audio reads as silence. 0 on success; 0xA00F0001 when the server fails or
  // the reader has passed the end; 0xA00F0007 after CancelPendingRequests.
  int32_t ReadAudio(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer,
                    kilnmediatypes::TickTime position) override;
  int32_t GetAudioMarkers(std::vector<AudioMarker>& out) override;

  // --- DR::ISequentialAudioSource

  bool SequentialQueryA() override;
  bool SequentialQueryB() override;
  // The next block of the open reader; with `reset`, the reader is first
  // opened again at the start of the item. Takes no mAudioReadMutex: the host
  // doesn't mix it with ReadAudio from another thread.
  int32_t ReadAudioSequential(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer, bool reset) override;

  // --- RL::IRenderableExtendedStillInfo

  // The still range that holds `time`, from the fetched ranges; an empty
  // range at `time` outside every one. Returns 0.
  int32_t GetStillRangeAt(kilnmediatypes::TickTime time, TimeRange& outRange) override;
  // Appends the parts of the fetched still ranges that lie in [start, end).
  int32_t GetStillRangesInRange(kilnmediatypes::TickTime start, kilnmediatypes::TickTime end,
                                std::vector<TimeRange>& inOutRanges) override;

  // --- RL::ISmartRenderSegmentInfo

  // Asks a host project's (or Final Cut Pro XML file's) server which stretches
  // of [start, end) can be taken over from existing media, and gives each
  // segment's clip as the callback instance id of a per-clip stream (one per
  // clip, kept until this source goes). `flagA` and `flagB` go to the server
  // as they came. Other items, and a failed request, leave `outSegments` as it
  // came.
  void DetermineSmartRenderSegmentsInRange(kilnmediatypes::TickTime start, kilnmediatypes::TickTime end,
                                           const kilnmediatypes::PixelFormat& format, bool flagA, bool flagB,
                                           int32_t reserved,
                                           std::map<kilnmediatypes::TickTime, RL::SmartRenderSegment>& outSegments)
      override;

  // --- The road of a frame, also used by the audio and request code.

  // The cache lookup and, for the blocking and background modes, the render.
  int32_t RequestFrame(RequestMode mode, kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                       const RL::BinaryData& prefs, Frame& outFrame);
  // The server renderer for exactly these options: from the pool, or (with
  // `create`) made and waited for. Null if there is none.
  std::shared_ptr<tether::VideoRenderer> FindOrCreateVideoRenderer(const RL::FrameFormat& format,
                                                                   const kilncore::WideString& appOptionsJSON,
                                                                   bool create);
  // A server answer for the frame `identifier` (`reference` null unless
  // delivered). Wraps and caches a delivered frame, then finishes the entry.
  void OnVideoRendered(const kilncore::utility::Guid& identifier,
                       const std::shared_ptr<processcoordination::BinaryReference>& reference, int32_t status,
                       bool mayRetry);

  // A request of this source: a future and promise from the request table,
  // remembered under a new unique `outID` so that CancelPendingRequests can
  // fail it.
  void AddRequest(Request& outRequest, kilncore::utility::Guid& outID);
  // Waits for `request` as ServerWait does (at most 24 hours) and forgets
  // `id`. The result code:
  // 0 on success, the failure's code otherwise, 0xF3610004 for an empty
  // future, 0xF3610002 if the wait ran out.
  int32_t WaitForRequest(const Request& request, const kilncore::utility::Guid& id);

  tether::VideoRenderOptions BuildVideoRenderOptions(const RL::FrameFormat& format,
                                                     const kilncore::WideString& appOptionsJSON);
  // What the server gets as the application's render options: the prefs'
  // options text, or for a per-clip source its clip number as JSON.
  kilncore::WideString BuildRenderOptionsJSON(const RL::BinaryData& prefs);
  // Whether `source` has audio worth rendering: unless the running
  // application (Crate::GetApplicationType) is of type 2, 8 or 11, a layout of
  // exactly 32 channels counts as none.
  static bool HasRenderableAudio(const tether::Source& source);

  // One block of audio: the next one of the open reader, or with `reset` the
  // first one of a reader opened at `position`. Spreads the server's
  // interleaved samples into `buffer`'s channels and moves mNextAudioFrame on;
  // at the end of the item the reader is closed.
  int32_t ReadAudioBlock(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer, bool reset,
                         kilnmediatypes::TickTime position);

  // Replaces the accelerated renderer's pixel formats by time range as a
  // whole, as a reply of the server does.
  void ReplaceAcceleratedRanges(std::map<kilnmediatypes::TickTime, AcceleratedRange> ranges);
  // Replaces the still ranges as a whole, in the order of the reply.
  void ReplaceStillRanges(std::vector<TimeRange> ranges);
  // Files `stream`, a video stream of clip `clipID` alone, under a new
  // callback instance id through which the host's smart renderer reaches it,
  // and keeps it until this source goes. A stream already kept for the clip
  // is replaced and its id handed back. Returns the new id. Not locked: only
  // the smart-render code, on one thread at a time, keeps clip streams.
  int32_t AdoptClipStream(uint32_t clipID,
                          kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> stream);
  // The instance id kept for clip `clipID`, or 0 if none is.
  int32_t FindClipStreamInstanceID(uint32_t clipID) const;

  // --- Observation for tools and tests.

  size_t GetPendingRenderCount();
  size_t GetVideoRendererCount();
  size_t GetOpenRequestCount();
  // The sample frame at which the open audio reader goes on.
  int64_t GetNextAudioFrame();
  // Whether an audio reader is open.
  bool HasAudioRenderer();
  // The number of audio blocks kept for a repeated read (0 or 1).
  size_t GetAudioBlockCacheSize();

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  using PendingRenderMap = std::map<kilncore::utility::Guid, boost::shared_ptr<PendingRender>,
                                    std::less<kilncore::utility::Guid>,
                                    kilncore::allocator::MemoryRecycler<std::pair<
                                        const kilncore::utility::Guid, boost::shared_ptr<PendingRender>>>>;
  using RequestState = std::weak_ptr<kilncore::async::detail::FutureState<void>>;
  using RequestMap =
      std::map<kilncore::utility::Guid, RequestState, std::less<kilncore::utility::Guid>,
               kilncore::allocator::MemoryRecycler<std::pair<const kilncore::utility::Guid, RequestState>>>;
  using AcceleratedRangeMap =
      std::map<kilnmediatypes::TickTime, AcceleratedRange, std::less<kilnmediatypes::TickTime>,
               kilncore::allocator::MemoryRecycler<std::pair<const kilnmediatypes::TickTime, AcceleratedRange>>>;
  using AudioBlockCache =
      std::map<kilnmediatypes::TickTime, kilnaudiotoolkit::AudioBuffer, std::less<kilnmediatypes::TickTime>,
               kilncore::allocator::MemoryRecycler<
                   std::pair<const kilnmediatypes::TickTime, kilnaudiotoolkit::AudioBuffer>>>;
  using ClipStreamMap = std::map<uint32_t, ClipStreamEntry, std::less<uint32_t>,
                                 kilncore::allocator::MemoryRecycler<std::pair<const uint32_t, ClipStreamEntry>>>;

  // The current item, copied under mStateMutex.
  std::shared_ptr<tether::Source> CopySource();
  // Runs `query` on the current item under mStateMutex; `fallback` if there is
  // none.
  template <class Result, class Query>
  Result QuerySource(Query query, Result fallback);

  // The time shift of GetFrame on items with frozen regions: the smaller of
  // `time` and the options' stretch offset, or 0.
  kilnmediatypes::TickTime GetStretchAdjustment(kilnmediatypes::TickTime time, const RL::BinaryData& prefs);
  void StartFrameRender(const boost::shared_ptr<PendingRender>& entry, const kilncore::utility::Guid& identifier);
  void FinishFrameRender(const kilncore::utility::Guid& identifier, const Frame& frame, int32_t status,
                         bool mayRetry);
  // The renderer for `options` in the pool, or null. Called with mStateMutex.
  std::shared_ptr<tether::VideoRenderer> FindRendererLocked(const tether::VideoRenderOptions& options) const;
  // The offered pixel formats at `time`, for SelectFrameFormat.
  std::vector<kilnmediatypes::PixelFormat> GetOfferedPixelFormats(kilnmediatypes::TickTime time);
  // Opens the server's audio reader at `position` for blocks of
  // `framesWanted` frames and makes it the open one (also when the server
  // answered without a reader, which leaves none open). The wait's result.
  int32_t OpenAudioRenderer(tether::Source& source, uint32_t framesWanted, kilnmediatypes::TickTime position,
                            std::shared_ptr<tether::AudioRenderer>& outRenderer);
  // Asks `renderer` for its next block and waits for it; `outBlock` stays
  // null if the server answered without one. The wait's result.
  int32_t RenderAudioBlock(tether::AudioRenderer& renderer,
                           std::shared_ptr<processcoordination::BinaryReference>& outBlock);
  // Moves the reader on by `frames`; at the end of the item, closes it.
  void AdvanceAudioReader(int64_t frames);
  using ReplyReader = NamedRequests::ReplyReader;
  using CallBuilder = std::function<kilncore::serialization::JSONValuePtr(const tether::Source& source)>;
  using TableReplacer = std::function<void(TetherSource& self, const std::shared_ptr<std::any>& reply)>;

  // Sends the named `call` to `source` as a request of this source and waits
  // for it. `read` runs on the client's thread with the reply; a reply it
  // can't read (std::bad_any_cast) fails the request. The wait's result.
  int32_t SendNamedRequest(tether::Source& source, const kilncore::serialization::JSONValuePtr& call,
                           const ReplyReader& read);
  static std::string NamedRequestName(const kilncore::serialization::JSONValuePtr& call);
  // Replaces each segment's clip by the instance id of a per-clip stream of
  // it, made on first sight of the clip.
  void ResolveClipStreams(const std::shared_ptr<tether::Source>& source,
                          std::map<kilnmediatypes::TickTime, RL::SmartRenderSegment>& segments);
  // Fetches a table that a host project's server keeps for this item when
  // the flag `dirty` is set (and clears it): `replace` gets the reply. Other
  // items have nothing to fetch; a failure keeps the old table.
  void RefreshFromServer(bool TetherSource::*dirty, const CallBuilder& build, const TableReplacer& replace);
  // The pixel formats of the accelerated renderer by time, and the still
  // ranges, from the server; each fetched on first use after a change.
  void RefreshAcceleratedTimelineData();
  void RefreshStillRanges();

  kilncore::threads::RecursiveMutex mRequestMutex;
  kilncore::threads::RecursiveMutex mStateMutex;
  kilncore::threads::RecursiveMutex mAudioReadMutex;
  std::shared_ptr<tether::Source> mSource;
  // Written under mStateMutex, read without it.
  std::atomic<bool> mUsePreviewFiles{false};
  std::atomic<bool> mUseProxies{false};
  const uint32_t mClipID;
  PendingRenderMap mPendingRenders;
  std::vector<VideoRendererEntry> mVideoRenderers;
  // Written and compared without a lock.
  std::atomic<uint32_t> mSequenceTag{0};
  std::shared_ptr<tether::AudioRenderer> mAudioRenderer;
  int64_t mNextAudioFrame = 0;
  // The last block read, under its position; never more than one entry.
  AudioBlockCache mAudioBlockCache;
  AcceleratedRangeMap mAcceleratedRanges;
  bool mAcceleratedDataDirty = true;
  std::vector<TimeRange> mStillRanges;
  bool mStillRangesDirty = true;
  // Touched without a lock, by the smart-render code only.
  ClipStreamMap mClipStreams;
  RequestMap mRequests;  // guarded by mRequestMutex
  kilncore::utility::Guid mRuntimeFontGuid;
};

template <class Result, class Query>
Result TetherSource::QuerySource(Query query, Result fallback) {
  kilncore::threads::ScopedRecursiveLock lock(mStateMutex);
  if (!mSource) return fallback;
  return query(*mSource);
}

}  // namespace TetherMedia
