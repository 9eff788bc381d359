#pragma once

#include <TetherMedia/Export.h>
#include <TetherMedia/ITetherMediaInfo.h>

#include <KL/ICaptioningSourceOwner.h>
#include <KL/ICircularDependencyOwner.h>
#include <KL/IClipLoggingInfo.h>
#include <KL/IMediaFile.h>
#include <KL/IMediaInfo.h>
#include <KL/IMediaMetaData.h>
#include <KL/IProjectItem.h>
#include <KL/IVideoSource.h>
#include <KL/MediaSceneRecord.h>
#include <KL/MetaDataType.h>
#include <KL/ReplacedMediaInfoData.h>

#include <RL/BinaryData.h>
#include <RL/ISource.h>

#include <kilncore/async/Promise.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/messaging/ManagedStation.h>
#include <kilncore/string/WideString.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>
#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/TickTime.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <tether/ConnectionStatus.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>
#include <tether/SourceInfo.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace TetherMedia {

// The object that the host holds for one linked item: to the host a media file
// with at most one video and one audio stream, whose frames and samples another
// application renders.
//
// It answers every property that all linked items share from what it holds:
// the path, the source identifier, the client library's tether::Source (null
// until the server has delivered it, and again after a link has failed) and the
// stream object. A property getter never waits for a server: it copies the
// source under mMutex, lets go of the lock, and either asks the copy or answers
// a fixed fallback. The connection to the server is the business of the one
// derived class, TetherMediaInfo, which supplies the pure operations.
//
// It also holds the bridge from the client library's callbacks to the host's
// blocking calls (Fulfill, the WaitFor... callbacks and their binders, see
// ServerWait), the relay of servers' progress reports, and the media opaque
// data that the host keeps for each clip.
//
// Thread safety: any operation may be called on any thread. mSource is read
// and written under mMutex only; mMutex is recursive and never held during a
// wait or a call into tether::Source (but for GetNumStreams and
// GetMediaProducerDescription, whose calls are local to the client library).
class TETHERMEDIA_API BaseMediaInfo : public KL::IMediaInfo,
                                      public KL::IMediaFile,
                                      public KL::IMediaMetaData,
                                      public KL::ICircularDependencyOwner,
                                      public ITetherMediaInfo,
                                      public KL::ICaptioningSourceOwner {
 public:
  // Registers the item's own messaging station. `constructorFlag` is kept in
  // mConstructorFlag and read by nothing yet.
  explicit BaseMediaInfo(bool constructorFlag);
  // Drops the stream object and the source before anything else, then fails the
  // opening request with a broken promise if it is still open, and disposes of
  // the station.
  ~BaseMediaInfo() override;

  BaseMediaInfo(const BaseMediaInfo&) = delete;
  BaseMediaInfo& operator=(const BaseMediaInfo&) = delete;

  // ---- KL::IMediaInfo, in slot order.

  // 1 for video or audio when the source has that stream, else 0.
  size_t GetNumStreams(kilncore::utility::Guid mediaType) const override;
  // The stream object as RL::ISource for video and audio alike, whatever
  // `index`; null for other media types and while there is no stream object.
  kilncore::classref::InterfaceRef<RL::ISource> GetStream(kilncore::utility::Guid mediaType,
                                                          size_t index) const override;
  size_t GetNumStreamGroups() const override;
  void GetStreamGroupIndices(size_t group, size_t& a, size_t& b, size_t& c) override;
  void SetMediaHint(bool hint) override;
  // The module's implementation identifier.
  kilncore::utility::Guid GetImplementationID() const override;
  // The file path.
  kilncore::WideString GetInstanceString() const override;
  // The producer description of the source's description; empty without a
  // source.
  kilncore::WideString GetMediaProducerDescription() const override;
  // The identifier of the item's own station.
  kilncore::utility::ImmutableString GetStationID() const override;
  // The 16 raw bytes (machine order, not text order) of GetContentState().
  void GetModificationState(RL::BinaryData& out) const override;
  void MediaInfoNoOpA() override;
  // The source the host pulls a stream from. Video: the stream object itself
  // (null while there is none), result 0. Audio: an importer-layer audio
  // source around the stream object, taken from the host's audio pool when one
  // with the same key (path, document, `streamIndex`, `frameRate`, duration,
  // content state, `prefs`, channel layout) is alive, else built and added to
  // the pool. A non-empty `conformRequest` forces a conformed source; so does
  // ForceConform, but only in hosts that could import audio otherwise.
  // `reservedPath` is ignored; the two conform paths go to the importer layer
  // unchanged. Other media types: 0, with `outSource` untouched.
  // Throws NullPtrException on the audio road when the stream object, the pool
  // or the stream's duration is missing; returns the importer layer's code
  // (with `outSource` untouched) when it refuses an imported source.
  int32_t CreateSourceForStream(kilncore::utility::Guid mediaType, size_t streamIndex,
                                const RL::BinaryData& prefs,
                                const kilnmediatypes::FrameRate& frameRate,
                                const kilncore::WideString& conformRequest,
                                const kilncore::WideString& reservedPath,
                                const kilncore::WideString& conformPathA,
                                const kilncore::WideString& conformPathB,
                                kilncore::classref::InterfaceRef<RL::ISource>& outSource) const override;
  // Only Marl items have a preferences dialog.
  bool HasSetup() const override;
  bool CanValidatePrefs() const override;
  bool SetupOnDoubleClick() const override;
  // The render settings of a Marl item. This build has no dialog to show, so
  // it answers as a dialog closed with Cancel does: `prefs` of a Marl item
  // with render options is rewritten from those options, normalised, with the
  // same source identifier, and the result is 1. Any other item returns 0 with
  // `prefs` unchanged. Only `prefs` is used.
  int32_t OpenPreferences(RL::BinaryData& prefs,
                          std::map<kilncore::WideString, kilncore::WideString>& settings,
                          size_t reservedA, kilncore::classref::InterfaceRef<KL::ISequence> sequence,
                          const kilnmediatypes::TickTime& reservedTime, size_t reservedB,
                          kilncore::WideString& outReserved) override;
  bool IsPending() const override;
  void MediaInfoNoOpB() override;
  bool IsCacheable() const override;
  // Leaves `out` as it was given: a linked item has no hash on behalf of
  // another.
  void GetHashInfo(const KL::ReplacedMediaInfoData& replaced, RL::BinaryData& out) const override;
  // The modification state.
  void GetHashInfo(RL::BinaryData& out) const override;
  kilncore::WideString GetFilenameForStream(size_t index) const override;
  bool MediaInfoTrueA() const override;
  void MediaInfoNoOpC() override;
  bool MediaInfoFalseA() const override;
  // False here; a connected linked item says true.
  bool IsLinkedMedia() const override;
  bool HasFrozenUnstretchableRegions() const override;
  bool MediaInfoFalseB() const override;
  void MediaInfoNoOpD() override;
  // The object itself.
  virtual kilncore::classref::InterfaceRef<BaseMediaInfo> GetBaseMediaInfoRef() const = 0;
  // The item's name as its source gives it.
  virtual kilncore::WideString GetSourceName() const = 0;

  // ---- KL::IMediaFile, in slot order.

  kilncore::WideString GetFilePath() const override;
  kilncore::WideString GetFilePathAlias() const override;
  // A hash of the path and source identifier: the same item has the same
  // identity in every run of the application.
  kilncore::utility::Guid GetDocumentID() const override;
  // The stream object's content state, or the document ID when that is nil;
  // nil while there is no stream object.
  kilncore::utility::Guid GetContentState() const override;
  void QuietFileAlias(const kilncore::WideString& path, const RL::BinaryData& prefs) override;
  void QuietFile(const kilncore::WideString& path, const RL::BinaryData& prefs) override;
  // A linked item is never deleted through this interface: general failure.
  int32_t DeleteFileW(const kilncore::WideString& path, const RL::BinaryData& prefs) override;
  bool LegalToProxy() const override;
  void DisableGrowingRefreshes(bool disable) override;
  void MediaFileNoOp() override;

  // ---- KL::IMediaMetaData, in slot order.

  bool CanWriteTimecode() const override;
  // Not offered (0xA00F000C): the owning application keeps the times.
  int32_t SetTimeInfo(const RL::BinaryData& prefs, const kilnmediatypes::TickTime& origTime,
                      const kilnmediatypes::TickTime& altTime, const kilncore::WideString& origReel,
                      const kilncore::WideString& altReel, const kilncore::WideString& comment,
                      const kilnmediatypes::FrameRate& rate, bool dropFrame,
                      bool useAlternateStart) override;
  // The source's start time; the invalid time without a source.
  kilnmediatypes::TickTime GetOrigTime() const override;
  kilnmediatypes::TickTime GetAltTime() const override;
  kilnmediatypes::TickTime GetAuxTime() const override;
  kilncore::WideString GetLogComment() const override;
  std::string GetAuxText() const override;
  kilncore::WideString GetOrigReel() const override;
  kilncore::WideString GetAltReel() const override;
  // The source's drop-frame flag; false without a source.
  bool GetIsDropFrame() const override;
  bool MetaDataFalseA() const override;
  // Asked of the stream object. Throws kilncore::config::NullPtrException
  // while there is none.
  kilnmediatypes::PixelAspectRatio GetPixelAspectRatio() const override;
  kilnmediatypes::FieldType GetFieldType() const override;
  bool GetUseAlternateStart() const override;
  // The timecode display of the source's rate; TimeDisplay(999), none, for a
  // rate that has no display of its own and while there is no source.
  kilnmediatypes::TimeDisplay GetTimeDisplay() const override;
  // Not offered (0xA00F000C).
  int32_t InjectMetadata(kilncore::classref::InterfaceRef<KL::IClipLoggingInfo> info) override;
  int32_t GetXMPCaptureProperties(RL::BinaryData& outProperties) override;
  int32_t UpdateXMPMetadataFromMedia(bool force) override;
  int32_t WriteMetaDatum(const RL::BinaryData& prefs, KL::MetaDataType type, void* value,
                         const RL::BinaryData& key, bool flagA, bool flagB, int* outResult,
                         const std::vector<kilnmetadata::Path>& paths) override;
  std::vector<KL::MediaSceneRecord> GetMediaScenes() override;
  bool GetIsPreviewRenderNoAlphaDetected() override;
  // The content state, whatever `key`: a linked item's metadata changes with
  // its content and only then. Returns 0.
  int32_t GetMetadataState(kilncore::utility::Guid& out, const std::string& key) override;
  kilncore::utility::ImmutableString GetMetaDataStationID() const override;
  bool CanWriteXMPToFile() const override;
  bool CanWriteXMPToFileAlias() const override;

  // ---- KL::ICircularDependencyOwner and ITetherMediaInfo.

  // True if IsSourceLinkedTo(id), else HasNestedLink(): an item with a nested
  // link may depend on anything. Serves both interfaces.
  bool ContainsDependance(kilncore::utility::Guid id) const override;
  // IsProjectItemLinked(item).
  bool ContainsDependence(kilncore::classref::InterfaceRef<KL::IProjectItem> item) const override;

  // ---- ITetherMediaInfo, in slot order.

  kilnmediatypes::TickTime GetTickCount() override;
  kilnmediatypes::TickTime GetWorkInPoint() override;
  kilnmediatypes::TickTime GetWorkOutPoint() override;
  bool GetUseProxies() override;
  void SetUseProxies(bool use) override;
  // A copy of the source's description; a default-built one without a source.
  tether::SourceInfo GetSourceInfo() override;
  std::vector<kilncore::utility::Guid> GetLinkedItemList() override;
  // Nil here; a connected item asks its server.
  kilncore::utility::Guid GetRuntimeGuid() override;
  void SetXMPRenderWorkArea(const kilnmediatypes::TickTime& in,
                            const kilnmediatypes::TickTime& out) override;
  void ForceConform(bool force) override;

  // ---- Ending the opening request (mRequestPromise).

  // Success for 0 and above; otherwise fails the request with "Tether Request
  // failed with error" and `result`. A request that has ended already stays as
  // it ended.
  void Fulfill(int result);
  // Success for status 0; any other status fails the request with the general
  // failure code (the library's status isn't kept).
  void Fulfill(tether::ConnectionStatus status);
  // Ends the request as the user's cancelling does ("User Canceled").
  void TryCancelRequest();

 protected:
  // Answers the names of the six interfaces and of the class itself; the
  // object's pointer and its KL::IMediaInfo pointer are the same.
  void* QueryMap(const std::string_view& name) override;

  // ---- Callbacks that end a wait (see ServerWait). Each stores the answer in
  // its slot and completes `promise` when the status is 0, and fails it with
  // the general failure code otherwise. They touch no object, so a late answer
  // is harmless.

  static void WaitForDependanceCheck(const kilncore::async::Promise<void>& promise,
                                     tether::ConnectionStatus status, bool value,
                                     std::shared_ptr<bool>& result);
  static void WaitForRuntimeFontUpdate(const kilncore::async::Promise<void>& promise,
                                       tether::ConnectionStatus status, unsigned int value,
                                       std::shared_ptr<unsigned int>& result);
  // A failure also stores the nil Guid.
  static void WaitForRuntimeGuid(const kilncore::async::Promise<void>& promise,
                                 tether::ConnectionStatus status, const kilncore::utility::Guid& value,
                                 std::shared_ptr<kilncore::utility::Guid>& result);
  // `data` gets the packet's bytes as they are (empty for no packet, which is
  // no failure) and `code` 0; a failure gives empty data and the general
  // failure code.
  static void WaitForXMP(const kilncore::async::Promise<void>& promise, tether::ConnectionStatus status,
                         const std::string& xmp, std::shared_ptr<RL::BinaryData>& data,
                         std::shared_ptr<int>& code);

  // The callbacks above bound, with boost::bind, to the wait's promise and its
  // slots, ready to hand to the client library. The library's status and value
  // are the open arguments.
  static tether::Source::BoolCallback BindWaitForDependanceCheck(
      const kilncore::async::Promise<void>& promise, std::shared_ptr<bool> result);
  static tether::Project::FontChangeCallback BindWaitForRuntimeFontUpdate(
      const kilncore::async::Promise<void>& promise, std::shared_ptr<unsigned int> result);
  static tether::Source::GuidCallback BindWaitForRuntimeGuid(
      const kilncore::async::Promise<void>& promise, std::shared_ptr<kilncore::utility::Guid> result);
  static tether::Source::XMPCallback BindWaitForXMP(const kilncore::async::Promise<void>& promise,
                                                    std::shared_ptr<RL::BinaryData> data,
                                                    std::shared_ptr<int> code);

  // Posts a server's progress report as TetherProgress on the module's progress
  // station, to be delivered on the UI thread. Without the station (before
  // Initialize, after Shutdown) or a listener on it, nothing is even built.
  // Static, because a report may arrive after the item has gone.
  static void RebroadcastTetherProgress(std::string progressType,
                                        const std::vector<kilncore::WideString>& arguments,
                                        const kilncore::WideString& filePath,
                                        kilncore::utility::Guid sourceID, double progress);
  // RebroadcastTetherProgress bound as a server's progress callback for the
  // item `filePath` / `sourceID` (copied now).
  static tether::Server::ProgressCallback BindRebroadcastTetherProgress(
      const kilncore::WideString& filePath, const kilncore::utility::Guid& sourceID);

  // ---- Media opaque data: the blob that the host keeps for each clip.

  // The Marl form: `renderOptions` normalised through tether::MarlRenderOptions,
  // and, if the options ask for it, the source's description patched to the
  // down-sampled size. Needs info->mSource. Throws for malformed options.
  static void MakeMediaOpaqueData(kilncore::classref::InterfaceRef<BaseMediaInfo>& info,
                                  kilncore::WideString renderOptions, RL::BinaryData& out);
  // By project type of `filePath`: Marl options normalised, Sprocket options
  // kept as they are, the options of any other type dropped. Throws
  // NullPtrException for a null `info`.
  static void MakeMediaOpaqueData(kilncore::classref::InterfaceRef<BaseMediaInfo>& info,
                                  kilncore::WideString renderOptions,
                                  const kilncore::WideString& filePath, RL::BinaryData& out);

  // A copy of mSource, taken under mMutex.
  std::shared_ptr<tether::Source> GetSourceSnapshot() const;

  // The one lock of the item; TetherMediaInfo uses it too.
  mutable kilncore::threads::RecursiveMutex mMutex;
  kilncore::messaging::ManagedStation mStation;
  kilncore::async::Promise<void> mRequestPromise;
  kilncore::WideString mFilePath;
  kilncore::utility::Guid mSourceID;
  std::shared_ptr<tether::Source> mSource;
  kilncore::classref::InterfaceRef<KL::IVideoSource> mVideoSource;
  kilnmediatypes::TickTime mXMPRenderWorkAreaIn = kilnmediatypes::kTickTime_Invalid;
  kilnmediatypes::TickTime mXMPRenderWorkAreaOut = kilnmediatypes::kTickTime_Invalid;
  bool mConstructorFlag;
  bool mForceConform = false;
  kilncore::WideString mRenderOptionsText;
  uint32_t mLastFontChangeValue = 1;
};

}  // namespace TetherMedia
