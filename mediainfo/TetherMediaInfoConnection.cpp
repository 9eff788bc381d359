// The chain of server callbacks that takes a new item from its typed server to
// a connected source, and the choice of that typed server.

#include <mediainfo/TetherMediaInfo.h>

#include <source/TetherSource.h>

#include <Crate/ApplicationType.h>
#include <WF/ImportableFileTypeUtils.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/FileUtils.h>
#include <tether/File.h>
#include <tether/ServerConnectionType.h>

#include <string>
#include <utility>
#include <vector>

namespace TetherMedia {
namespace {

using kilncore::threads::ScopedRecursiveLock;

// Hosts of this type run their own servers and reach them by the other road.
constexpr int32_t kAlternateRoadApplication = 8;
// The only host that opens Easel documents.
constexpr int32_t kEaselApplication = 11;

bool Succeeded(tether::ConnectionStatus status) { return status == tether::kConnectionStatusOK; }

std::string SprocketSourceExtension() {
  return kilncore::string::UTF16to8(tether::SprocketServer::kSprocketSourceTypeProjectExtension);
}

}  // namespace

template <class TypedServer>
std::function<void(tether::ConnectionStatus, const std::shared_ptr<TypedServer>&)>
TetherMediaInfo::StrongForwarder(
    void (TetherMediaInfo::*handler)(tether::ConnectionStatus, const std::shared_ptr<TypedServer>&)) {
  // Nothing but this callback may hold the item while the server starts (the
  // creating thread's reference can go if it gives up), so it holds it.
  ItemRef self = ItemRef::FromThis(this);
  return [self, handler](tether::ConnectionStatus status, const std::shared_ptr<TypedServer>& server) {
    (self.Get()->*handler)(status, server);
  };
}

template <class Object>
std::function<void(tether::ConnectionStatus, const std::shared_ptr<Object>&)>
TetherMediaInfo::WeakForwarder(
    void (TetherMediaInfo::*handler)(tether::ConnectionStatus, const std::shared_ptr<Object>&)) {
  // `self` is only followed while `weak` proves the item alive.
  return [weak = GetWeakReference(), self = this, handler](tether::ConnectionStatus status,
                                                           const std::shared_ptr<Object>& object) {
    const std::shared_ptr<kilncore::classref::UnknownBase> alive = weak.lock();
    if (!alive) return;
    (self->*handler)(status, object);
  };
}

tether::FileServer::OpenFileCallback TetherMediaInfo::WeakOpenFileForwarder() {
  auto forward = WeakForwarder<tether::Source>(&TetherMediaInfo::OnSourceStatus);
  // The server's notes on the file are of no use to the item.
  return [forward = std::move(forward)](tether::ConnectionStatus status,
                                        const std::shared_ptr<tether::Source>& source,
                                        const kilncore::WideString& /*kind*/,
                                        const kilncore::WideString& /*message*/, int /*detail*/) {
    forward(status, source);
  };
}

// --- Choosing the application.

int32_t TetherMediaInfo::ConnectByFileType(const kilncore::WideString& path) {
  namespace FileTypes = WF::ImportableFileTypeUtils;
  const int32_t application = Crate::GetApplicationType();
  const auto connectionType = static_cast<tether::ServerConnectionType>(
      application == kAlternateRoadApplication ? tether::kServerConnectionTypeAlternate
                                               : tether::kServerConnectionTypeDefault);
  const std::string extension = kilncore::utility::FileUtils::GetPathExtension(path, true);

  if (FileTypes::IsMarlProject(path, false)) {
    tether::MarlServer::CreateTetherServer(StrongForwarder(&TetherMediaInfo::OnMarlServerStatus),
                                           connectionType);
    RegisterAsFontWatcher();
  } else if (FileTypes::IsSprocketProject(path)) {
    tether::SprocketServer::CreateTetherServer(StrongForwarder(&TetherMediaInfo::OnSpkServerStatus),
                                               connectionType);
  } else if (FileTypes::IsTolmenProject(path)) {
    tether::TolmenServer::CreateTetherServer(StrongForwarder(&TetherMediaInfo::OnTolmenServerStatus),
                                             connectionType);
  } else if (extension == ".esd" && application == kEaselApplication) {
    tether::EaselServer::CreateTetherServer(StrongForwarder(&TetherMediaInfo::OnEaselServerStatus));
  } else if (FileTypes::IsFCPProject(path)) {
    // Interchange files are opened as plain files by the host's own server.
    tether::TolmenServer::CreateTetherServer(
        StrongForwarder(&TetherMediaInfo::OnTolmenFileServerStatus), connectionType);
  } else if (extension == ".dslcat") {
    tether::DarkslideServer::CreateTetherServer(
        StrongForwarder(&TetherMediaInfo::OnDarkslideServerStatus));
  } else if (extension == SprocketSourceExtension()) {
    tether::SprocketServer::CreateTetherServer(
        StrongForwarder(&TetherMediaInfo::OnSprocketServerStatus), connectionType);
  } else {
    return kGeneralFailure;
  }
  return 0;
}

int32_t TetherMediaInfo::ConnectRemoteAsset(tether::FarsideAssetServerType serverType,
                                            tether::ServerConnectionType connectionType) {
  switch (serverType) {
    case tether::kFarsideAssetServerTypeMarl:
      tether::MarlServer::CreateTetherServer(StrongForwarder(&TetherMediaInfo::OnMarlServerStatus),
                                             connectionType);
      RegisterAsFontWatcher();
      return 0;
    case tether::kFarsideAssetServerTypeTolmen:
      tether::TolmenServer::CreateTetherServer(
          StrongForwarder(&TetherMediaInfo::OnTolmenServerStatus), connectionType);
      return 0;
  }
  return kNotOffered;
}

// --- Typed servers.

void TetherMediaInfo::KeepTypedServer(const std::shared_ptr<tether::GenericServer>& server) {
  ScopedRecursiveLock lock(mMutex);
  mTypedServer = server;
}

bool TetherMediaInfo::StopAtTypedServer(tether::ConnectionStatus status, bool hasServer,
                                        bool nextServerIsSet) {
  // A repeated answer finds the next server there already and must not
  // connect twice; it ends the wait, successfully.
  if (Succeeded(status) && hasServer && !nextServerIsSet) return false;
  Fulfill(status);
  return true;
}

void TetherMediaInfo::ContinueToLinkedServer(tether::ConnectionStatus status,
                                             const std::shared_ptr<tether::GenericServer>& server,
                                             bool withConnectionType) {
  const bool linked = GetLinkedServer() != nullptr;
  if (StopAtTypedServer(status, server != nullptr, linked)) return;
  auto forward = WeakForwarder<tether::Server>(&TetherMediaInfo::OnLinkedServerStatus);
  if (withConnectionType) {
    server->ConnectLinkedServer(std::move(forward), tether::kServerConnectionTypeInherit);
  } else {
    server->ConnectLinkedServer(std::move(forward));
  }
}

void TetherMediaInfo::OnMarlServerStatus(tether::ConnectionStatus status,
                                         const std::shared_ptr<tether::MarlServer>& server) {
  KeepTypedServer(server);
  ContinueToLinkedServer(status, server, true);
}

void TetherMediaInfo::OnSpkServerStatus(tether::ConnectionStatus status,
                                        const std::shared_ptr<tether::SprocketServer>& server) {
  KeepTypedServer(server);
  ContinueToLinkedServer(status, server, true);
}

void TetherMediaInfo::OnSprocketServerStatus(tether::ConnectionStatus status,
                                             const std::shared_ptr<tether::SprocketServer>& server) {
  // Not kept: on this road the typed server lives as long as the client
  // library keeps it.
  ContinueToLinkedServer(status, server, true);
}

void TetherMediaInfo::OnTolmenServerStatus(tether::ConnectionStatus status,
                                           const std::shared_ptr<tether::TolmenServer>& server) {
  KeepTypedServer(server);
  ContinueToLinkedServer(status, server, true);
}

void TetherMediaInfo::OnDarkslideServerStatus(tether::ConnectionStatus status,
                                              const std::shared_ptr<tether::DarkslideServer>& server) {
  KeepTypedServer(server);
  // Darkslide has a single road, so its connection takes no type.
  ContinueToLinkedServer(status, server, false);
}

void TetherMediaInfo::OnTolmenFileServerStatus(tether::ConnectionStatus status,
                                               const std::shared_ptr<tether::TolmenServer>& server) {
  if (StopAtTypedServer(status, server != nullptr, GetFileServer() != nullptr)) return;
  server->CreateFileServerLink(WeakForwarder<tether::FileServer>(&TetherMediaInfo::OnFileServerStatus));
}

void TetherMediaInfo::OnEaselServerStatus(tether::ConnectionStatus status,
                                          const std::shared_ptr<tether::EaselServer>& server) {
  if (StopAtTypedServer(status, server != nullptr, GetFileServer() != nullptr)) return;
  server->ConnectFileServer(WeakForwarder<tether::FileServer>(&TetherMediaInfo::OnFileServerStatus));
}

// --- Generic and file servers.

void TetherMediaInfo::OnLinkedServerStatus(tether::ConnectionStatus status,
                                           const std::shared_ptr<tether::Server>& server) {
  {
    ScopedRecursiveLock lock(mMutex);
    mLinkedServer = server;
  }
  if (!Succeeded(status) || !server) {
    Fulfill(status);
    return;
  }
  // Copies, not the item: progress may be reported after the item has gone.
  server->SetProgressCallback(BindRebroadcastTetherProgress(mFilePath, mSourceID));
  if (GetProject()) return;

  const tether::File file(mFilePath, false);
  if (!mRenderOptionsText.empty() &&
      kilncore::utility::FileUtils::GetPathExtension(mFilePath, true) == SprocketSourceExtension()) {
    // The owning application needs the item's options before it opens the
    // project.
    server->OpenProjectWithJSON(WeakForwarder<tether::Project>(&TetherMediaInfo::OnProjectStatus),
                                file, kilncore::string::UTF16to8(mRenderOptionsText));
    return;
  }
  if (IsRemoteAsset()) {
    // A remote asset is opened directly, with no project: mProject stays null.
    server->OpenFarsideAsset(WeakForwarder<tether::Source>(&TetherMediaInfo::OnSourceStatus),
                             mAssetRequest);
    return;
  }
  server->OpenProject(WeakForwarder<tether::Project>(&TetherMediaInfo::OnProjectStatus), file);
}

void TetherMediaInfo::OnFileServerStatus(tether::ConnectionStatus status,
                                         const std::shared_ptr<tether::FileServer>& fileServer) {
  bool hasSource = false;
  {
    ScopedRecursiveLock lock(mMutex);
    mFileServer = fileServer;
    hasSource = mSource != nullptr;
  }
  if (!Succeeded(status) || !fileServer) {
    Fulfill(status);
    return;
  }
  if (hasSource) return;
  fileServer->OpenFile(WeakOpenFileForwarder(), tether::File(mFilePath, false));
}

// --- Project and source.

void TetherMediaInfo::OnProjectStatus(tether::ConnectionStatus status,
                                      const std::shared_ptr<tether::Project>& project) {
  {
    ScopedRecursiveLock lock(mMutex);
    mProject = project;
  }
  if (!Succeeded(status) || !project) {
    Fulfill(status);
    return;
  }
  project->GetSource(WeakForwarder<tether::Source>(&TetherMediaInfo::OnSourceStatus), mSourceID);
  // Runs beside the source request; nothing waits for it.
  project->GetContainer(WeakForwarder<tether::Container>(&TetherMediaInfo::LogImportOperation),
                        kilncore::utility::Guid());
}

void TetherMediaInfo::OnSourceStatus(tether::ConnectionStatus status,
                                     const std::shared_ptr<tether::Source>& source) {
  int32_t result = 0;
  {
    // Held throughout, so that nobody sees the source without its stream
    // object.
    ScopedRecursiveLock lock(mMutex);
    mSource = source;
    if (!Succeeded(status) || !source) {
      result = kGeneralFailure;
      mVideoSource = nullptr;
    } else if (!mVideoSource) {
      kilncore::classref::InterfaceRef<TetherSource> created;
      result = TetherSource::Create(created, source, 0);
      mVideoSource = result < 0 ? nullptr : created;
    }
  }
  Fulfill(result);
}

}  // namespace TetherMedia
