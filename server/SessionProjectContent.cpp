#include "SessionProjectContent.h"

#include "ReloadingProject.h"

#include <server/darkslide/DarkslideHandler.h>
#include <server/easel/EaselHandler.h>
#include <server/marl/MarlHandler.h>
#include <server/sprocket/SprocketHandler.h>
#include <server/tolmen/TolmenHandler.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

#include <filesystem>
#include <optional>

#include <utility>

namespace tetherserver {

SessionProjectContent::SessionProjectContent() {
  Add(std::make_shared<MarlHandler>());
  Add(std::make_shared<TolmenHandler>());
  Add(std::make_shared<SprocketHandler>());
  Add(std::make_shared<EaselHandler>());
  Add(std::make_shared<DarkslideHandler>());
}

void SessionProjectContent::Add(std::shared_ptr<const OwnerHandler> handler) {
  const std::string application = handler->Application();
  mHandlers[application] = std::move(handler);
}

const OwnerHandler* SessionProjectContent::Find(const std::string& application) const {
  const auto found = mHandlers.find(application);
  return found == mHandlers.end() ? nullptr : found->second.get();
}

bool SessionProjectContent::SupportsApplication(const std::string& application) const {
  return Find(application) != nullptr;
}

std::shared_ptr<const SessionProject> SessionProjectContent::OpenProject(const std::string& application,
                                                                         const tether::File& file,
                                                                         const std::string& json, int32_t& status,
                                                                         const ProgressSink& progress) const {
  const OwnerHandler* handler = Find(application);
  if (!handler) {
    status = tether::wire::kStatusNotSupported;
    return nullptr;
  }
  return FollowFile(*handler, file, json, status, progress);
}

std::shared_ptr<const SessionProject> SessionProjectContent::FollowFile(const OwnerHandler& handler,
                                                                       const tether::File& file,
                                                                       const std::string& json, int32_t& status,
                                                                       const ProgressSink& progress) const {
  // The bytes are taken before the handler reads them: should the file change
  // in between, the next ask sees a difference and reads it again.
  const std::filesystem::path path(kilncore::string::UTF16to8(file.FullPath()));
  const std::optional<uint64_t> fingerprint = ReloadingProject::Fingerprint(path);
  auto opened = handler.OpenProject(file, json, status, progress);
  // Projects that aren't files (the synthetic one) have nothing to follow.
  if (!opened || !fingerprint) return opened;
  auto opener = [&handler, file, json](int32_t& reloadStatus) {
    return handler.OpenProject(file, json, reloadStatus, ProgressSink());
  };
  return std::make_shared<ReloadingProject>(path, *fingerprint, std::move(opened), std::move(opener));
}

bool SessionProjectContent::ServesFiles(const std::string& application) const {
  const OwnerHandler* handler = Find(application);
  return handler && handler->ServesFiles();
}

std::shared_ptr<const SessionItem> SessionProjectContent::OpenFile(const std::string& application,
                                                                   const tether::File& file, FileNotes& notes,
                                                                   int32_t& status) const {
  const OwnerHandler* handler = Find(application);
  if (!handler || !handler->ServesFiles()) {
    status = tether::wire::kStatusNotSupported;
    return nullptr;
  }
  return handler->OpenFile(file, notes, status);
}

std::shared_ptr<const SessionItem> SessionProjectContent::OpenFarsideAsset(
    const std::string& application, const tether::FarsideAssetRequestInfo& request, int32_t& status) const {
  const OwnerHandler* handler = Find(application);
  if (!handler) {
    status = tether::wire::kStatusNotSupported;
    return nullptr;
  }
  if (FarsideAssetOpener::NamesServiceAsset(request)) return mFarside.Open(*handler, request, status);
  return handler->OpenFarsideAsset(request, status);
}

}  // namespace tetherserver
