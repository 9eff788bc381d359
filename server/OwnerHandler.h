#pragma once

#include "SessionContent.h"

#include <memory>
#include <string>

namespace tetherserver {

// What the server does for one owning application ("Marl", "Tolmen", ...): it
// opens the application's projects and plain files and hands out what the
// session serves from them. A project (SessionProject) lists its containers
// and items and exports items as XML; an item (SessionItem) describes itself,
// renders frames and audio, and answers the application's named requests.
//
// One handler per application, in a folder of its own under server/; the
// session and the wire code reach them only through SessionContent
// (SessionProjectContent dispatches by application name). Handlers are called
// from several threads at once.
class OwnerHandler {
 public:
  virtual ~OwnerHandler() = default;

  // The name that typed servers of this application ask for.
  virtual std::string Application() const = 0;

  // Opens `file` as a project (with the application's options `json`, possibly
  // empty). Null with `status` set on failure.
  virtual std::shared_ptr<const SessionProject> OpenProject(const tether::File& file, const std::string& json,
                                                            int32_t& status, const ProgressSink& progress) const;
  // Whether the typed server connects a file server (typed.connect-file-server).
  virtual bool ServesFiles() const { return false; }
  // The item of the plain file `file`. Null with `status` set on failure.
  virtual std::shared_ptr<const SessionItem> OpenFile(const tether::File& file, FileNotes& notes,
                                                      int32_t& status) const;
  // The remote asset that `request` names. Null with `status` set on failure.
  virtual std::shared_ptr<const SessionItem> OpenFarsideAsset(const tether::FarsideAssetRequestInfo& request,
                                                              int32_t& status) const;
};

}  // namespace tetherserver
