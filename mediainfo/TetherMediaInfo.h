#pragma once

#include <mediainfo/BaseMediaInfo.h>

#include <FarsideCL/IFarsideCDataServer.h>
#include <KL/ICaptioningSource.h>
#include <KL/IFontSetWatcher.h>
#include <KL/IMediaAnalysis.h>
#include <RL/BinaryData.h>
#include <kilncore/async/Future.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>
#include <tether/CaptionData.h>
#include <tether/ConnectionStatus.h>
#include <tether/Container.h>
#include <tether/DarkslideServer.h>
#include <tether/EaselServer.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/FarsideAssetServerType.h>
#include <tether/FileServer.h>
#include <tether/GenericServer.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/ServerConnectionType.h>
#include <tether/Source.h>
#include <tether/SprocketServer.h>
#include <tether/TolmenServer.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace TetherMedia {

class TetherMediaInfoTestAccess;
class TetherSource;

// The linked item: one item of another application (a composition of a Marl
// project, a sequence of a Tolmen project, a Sprocket scene, an Easel
// document, a Darkslide catalogue) or a remote asset of the Farside service.
//
// BaseMediaInfo answers the host from a tether::Source and a TetherSource; this
// class gets them. Create starts a chain of server callbacks (typed server,
// generic or file server, project, source) and blocks until the chain has ended,
// so the host gets a connected item or a failure, never a half-open one.
//
// Thread safety: every field that the chain writes is written under mMutex,
// which the chain never holds while it calls into the client library (except
// while the stream object is made). Callbacks that may outlive the item hold
// only a weak reference to it.
class TetherMediaInfo : public BaseMediaInfo,
                        public KL::IMediaAnalysis,
                        public KL::IFontSetWatcher {
 public:
  // Results of creation.
  static constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
  static constexpr int32_t kFileMissing = static_cast<int32_t>(0xA00F0003u);
  static constexpr int32_t kNotOffered = static_cast<int32_t>(0xA00F000Cu);
  static constexpr int32_t kNoLinkedSource = static_cast<int32_t>(0xA00703E9u);

  // Use Create. Public only so that the shared owner can be made by
  // std::allocate_shared.
  TetherMediaInfo();
  ~TetherMediaInfo() override;
  TetherMediaInfo(const TetherMediaInfo&) = delete;
  TetherMediaInfo& operator=(const TetherMediaInfo&) = delete;

  // --- Creation. Each blocks the calling thread until the item is connected or
  // has failed (at most 24 hours). 0 means a connected item in `out`; on a
  // negative result `out` may still hold the unconnected item, which the caller
  // must release. A failed link gives 0xA00703E9 whatever went wrong; the
  // cause is in the request's future, which the request table logs.

  // The item at `path`; `prefs` names the item inside the file and carries its
  // render options, and is rewritten as the item's media opaque data on success.
  // 0xA00F0003 if nothing is at `path`, 0xA00F0001 if no application owns it.
  static int32_t Create(kilncore::classref::InterfaceRef<TetherMediaInfo>& out,
                        const kilncore::WideString& path, RL::BinaryData& prefs);

  // The remote asset `request`, opened by a Marl (serverType 0) or Tolmen (1)
  // server. An empty `prefs` gets a source identifier made from the asset, the
  // same for the same asset in every run, and comes back filled.
  // 0xA00F000C if the remote client is unavailable or `serverType` unknown.
  static int32_t Create(kilncore::classref::InterfaceRef<TetherMediaInfo>& out,
                        const tether::FarsideAssetRequestInfo& request,
                        tether::FarsideAssetServerType serverType, RL::BinaryData& prefs,
                        const boost::optional<kilncore::utility::ImmutableString>& linkedAssetText);

  // The remote asset named by `linkedAssetText`, reached through the logged-in
  // data server; a non-empty `productionPath` lets the server locate the
  // production. 0xA00F000C if the remote client is unavailable, 0xA00F0001 for
  // an empty or invalid text or when nobody is logged in.
  static int32_t Create(kilncore::classref::InterfaceRef<TetherMediaInfo>& out,
                        const kilncore::utility::ImmutableString& productionPath,
                        const kilncore::utility::ImmutableString& linkedAssetText,
                        tether::FarsideAssetServerType serverType, RL::BinaryData& prefs);

  // Copies into `request` how the logged-in data server is reached: its
  // address, credentials, token type and further properties.
  static void FillFromDataServer(tether::FarsideAssetRequestInfo& request,
                                 const FarsideCL::IFarsideCDataServer& dataServer);

  // --- What the chain has connected; each may be null.
  std::shared_ptr<tether::GenericServer> GetTypedServer() const;
  std::shared_ptr<tether::Server> GetLinkedServer() const;
  std::shared_ptr<tether::FileServer> GetFileServer() const;
  std::shared_ptr<tether::Project> GetProject() const;
  // True for a remote asset, false for a local file.
  bool IsRemoteAsset() const;

  // --- KL::IMediaInfo.
  size_t GetNumStreams(kilncore::utility::Guid mediaType) const override;
  void SetMediaHint(bool exposeAudioAlways) override;
  kilncore::WideString GetInstanceString() const override;
  kilncore::WideString GetMediaDisplayName() const override;
  int32_t GetMediaInfoRef(kilncore::classref::InterfaceRef<KL::IMediaInfo>& outRef) const override;
  bool IsLinkedMedia() const override;
  bool HasFrozenUnstretchableRegions() const override;
  kilncore::classref::InterfaceRef<BaseMediaInfo> GetBaseMediaInfoRef() const override;
  kilncore::WideString GetSourceName() const override;

  // --- KL::IMediaFile.
  kilncore::utility::Guid GetDocumentID() const override;
  int32_t RefreshFile(const kilncore::WideString& path) override;

  // --- KL::IMediaMetaData.
  int32_t ReadXMP(bool reservedA, bool reservedB, int32_t reservedC, RL::BinaryData& out) override;

  // --- ITetherMediaInfo.
  bool GetUsePreviewFiles() override;
  void SetUsePreviewFiles(bool use) override;
  bool GetUseProxies() override;
  void SetUseProxies(bool use) override;
  kilncore::utility::Guid GetRuntimeGuid() override;
  bool GetMaximumRenderQuality() override;
  bool IsSourceLinkedTo(kilncore::utility::Guid id) override;
  bool IsProjectItemLinked(kilncore::classref::InterfaceRef<KL::IProjectItem> item) override;
  bool HasNestedLink() override;

  // --- KL::ICaptioningSourceOwner.
  int32_t GetCaptioningSource(kilncore::classref::InterfaceRef<KL::ICaptioningSource>& out) override;
  void SelectCaptionStream(uint64_t index) override;
  uint64_t GetSelectedCaptionStream() override;

  // --- KL::IMediaAnalysis.
  int32_t GetAnalysisLines(int32_t reservedA, std::vector<kilncore::WideString>& lines,
                           int32_t reservedB, kilnmediatypes::TimeDisplay display,
                           int32_t reservedC, int32_t reservedD) override;
  bool AnalysisQueryA() override;
  uint32_t AnalysisFlags() override;
  void AnalysisNoOp() override;

  // --- KL::IFontSetWatcher.
  bool OnFontSetChanged() override;

 protected:
  // Answers for "TetherMedia::TetherMediaInfo", "KL::IFontSetWatcher" and
  // "KL::IMediaAnalysis", and hands every other name to BaseMediaInfo.
  void* QueryMap(const std::string_view& name) override;

 private:
  friend class TetherMediaInfoTestAccess;

  using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

  // A new, unconnected item, owned through the module's allocator.
  static ItemRef MakeItem();

  // Opens the local file: makes the item, registers the request and starts the
  // link by file type, then waits.
  static int32_t OpenFile(ItemRef& out, const kilncore::WideString& path,
                          const kilncore::utility::Guid& sourceID,
                          const kilncore::WideString& renderOptions);
  // The same for a remote asset.
  static int32_t OpenRemoteAsset(ItemRef& out, const tether::FarsideAssetRequestInfo& request,
                                 tether::FarsideAssetServerType serverType,
                                 const kilncore::utility::Guid& sourceID,
                                 const kilncore::WideString& renderOptions,
                                 const boost::optional<kilncore::utility::ImmutableString>& linkedAssetText);
  // Registers the opening request of this item under its path and source, keeps
  // the promise in mRequestPromise and gives the future.
  kilncore::async::Future<void> RegisterOpeningRequest();
  // Waits for the opening request and tells whether a linked source came of it.
  int32_t WaitForOpening(const kilncore::async::Future<void>& future);

  // Starts the server link of the application that owns `path`. 0 once it is
  // started, 0xA00F0001 when no application owns the file.
  int32_t ConnectByFileType(const kilncore::WideString& path);
  // Starts the server link of a remote asset. 0 once it is started,
  // 0xA00F000C for an unknown server type.
  int32_t ConnectRemoteAsset(tether::FarsideAssetServerType serverType,
                             tether::ServerConnectionType connectionType);
  // Hands a weak reference to this item to the font manager, so that a change of
  // the machine's fonts reaches a Marl item.
  void RegisterAsFontWatcher();

  // The first callback of the chain: it alone keeps the item alive.
  template <class TypedServer>
  std::function<void(tether::ConnectionStatus, const std::shared_ptr<TypedServer>&)> StrongForwarder(
      void (TetherMediaInfo::*handler)(tether::ConnectionStatus, const std::shared_ptr<TypedServer>&));
  // Every later callback: does nothing if the item has gone meanwhile.
  template <class Object>
  std::function<void(tether::ConnectionStatus, const std::shared_ptr<Object>&)> WeakForwarder(
      void (TetherMediaInfo::*handler)(tether::ConnectionStatus, const std::shared_ptr<Object>&));
  tether::FileServer::OpenFileCallback WeakOpenFileForwarder();

  // --- The chain. Typed servers first; those that keep the server store it in
  // mTypedServer whatever the status.
  void OnMarlServerStatus(tether::ConnectionStatus status,
                          const std::shared_ptr<tether::MarlServer>& server);
  void OnSpkServerStatus(tether::ConnectionStatus status,
                         const std::shared_ptr<tether::SprocketServer>& server);
  void OnSprocketServerStatus(tether::ConnectionStatus status,
                              const std::shared_ptr<tether::SprocketServer>& server);
  void OnTolmenServerStatus(tether::ConnectionStatus status,
                            const std::shared_ptr<tether::TolmenServer>& server);
  void OnTolmenFileServerStatus(tether::ConnectionStatus status,
                                const std::shared_ptr<tether::TolmenServer>& server);
  void OnEaselServerStatus(tether::ConnectionStatus status,
                           const std::shared_ptr<tether::EaselServer>& server);
  void OnDarkslideServerStatus(tether::ConnectionStatus status,
                               const std::shared_ptr<tether::DarkslideServer>& server);
  void OnLinkedServerStatus(tether::ConnectionStatus status,
                            const std::shared_ptr<tether::Server>& server);
  void OnFileServerStatus(tether::ConnectionStatus status,
                          const std::shared_ptr<tether::FileServer>& fileServer);
  void OnProjectStatus(tether::ConnectionStatus status,
                       const std::shared_ptr<tether::Project>& project);
  void OnSourceStatus(tether::ConnectionStatus status, const std::shared_ptr<tether::Source>& source);
  // Writes the usage event of an opened project when its root container
  // arrives; the item never waits for it.
  void LogImportOperation(tether::ConnectionStatus status,
                          const std::shared_ptr<tether::Container>& container);

  // --- Refresh. The answer to the new source that RefreshFile asked for:
  // swaps it into the stream object when its content state differs, and tells
  // the host by a message.
  void OnRefreshFileAsync(tether::ConnectionStatus status, const std::shared_ptr<tether::Source>& source);
  // Posts KL::MediaInfoChangedMessage / KL::MediaInfoDeletedMessage to the
  // UI thread for the item's station.
  void PostMediaInfoChanged();
  void PostMediaInfoDeleted();

  // The shared part of the typed handlers that go on to the generic server.
  // Darkslide's connection takes no connection type (`withConnectionType`).
  void ContinueToLinkedServer(tether::ConnectionStatus status,
                              const std::shared_ptr<tether::GenericServer>& server,
                              bool withConnectionType);
  // Whether a typed handler should stop at once, and Fulfill if so.
  bool StopAtTypedServer(tether::ConnectionStatus status, bool hasServer, bool nextServerIsSet);
  void KeepTypedServer(const std::shared_ptr<tether::GenericServer>& server);

  // The stream object, or null before the chain has made one.
  kilncore::classref::InterfaceRef<TetherSource> LinkedSource() const;

  // The JSON name of the remote asset, as the client library writes it.
  kilncore::WideString AssetNameText() const;

  std::shared_ptr<tether::GenericServer> mTypedServer;
  std::shared_ptr<tether::Server> mLinkedServer;
  std::shared_ptr<tether::FileServer> mFileServer;
  std::shared_ptr<tether::Project> mProject;
  tether::FarsideAssetRequestInfo mAssetRequest;
  boost::optional<kilncore::utility::ImmutableString> mLinkedAssetText;
  tether::FarsideAssetServerType mAssetServerType = tether::kFarsideAssetServerTypeMarl;
  bool mCaptionsResolved = false;
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> mCaptioningSource;
  tether::CaptionData mCaptionData;
  bool mExposeAudioAlways = false;
};

}  // namespace TetherMedia
