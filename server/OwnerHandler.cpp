#include "OwnerHandler.h"

#include <tether/wire/Protocol.h>

namespace tetherserver {

// By default an application offers none of the roads.

std::shared_ptr<const SessionProject> OwnerHandler::OpenProject(const tether::File&, const std::string&,
                                                                int32_t& status, const ProgressSink&) const {
  status = tether::wire::kStatusNotSupported;
  return nullptr;
}

std::shared_ptr<const SessionItem> OwnerHandler::OpenFile(const tether::File&, FileNotes&, int32_t& status) const {
  status = tether::wire::kStatusNotSupported;
  return nullptr;
}

std::shared_ptr<const SessionItem> OwnerHandler::OpenFarsideAsset(const tether::FarsideAssetRequestInfo&,
                                                                  int32_t& status) const {
  status = tether::wire::kStatusNotSupported;
  return nullptr;
}

}  // namespace tetherserver
