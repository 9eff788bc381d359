#include "SessionProjectContent.h"

#include <server/darkslide/DarkslideHandler.h>
#include <server/easel/EaselHandler.h>
#include <server/marl/MarlHandler.h>
#include <server/sprocket/SprocketHandler.h>
#include <server/tolmen/TolmenHandler.h>

#include <tether/wire/Protocol.h>

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
  return handler->OpenProject(file, json, status, progress);
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
