#pragma once

#include "OwnerHandler.h"
#include "SessionContent.h"

#include <server/farside/FarsideAssetOpener.h>

#include <map>
#include <memory>
#include <string>

namespace tetherserver {

// What the reference server serves: one OwnerHandler per owning application,
// chosen by the application name that a typed server asks for. The session
// knows no application; this is the one place that lists them.
class SessionProjectContent : public SessionContent {
 public:
  // The reference server's handlers: Marl (server/marl), the host
  // application's own projects (server/tolmen), Sprocket scenes
  // (server/sprocket), Easel documents (server/easel) and Darkslide
  // catalogues (server/darkslide).
  SessionProjectContent();

  // Adds or replaces the handler of its application.
  void Add(std::shared_ptr<const OwnerHandler> handler);

  bool SupportsApplication(const std::string& application) const override;
  std::shared_ptr<const SessionProject> OpenProject(const std::string& application, const tether::File& file,
                                                    const std::string& json, int32_t& status,
                                                    const ProgressSink& progress) const override;
  bool ServesFiles(const std::string& application) const override;
  std::shared_ptr<const SessionItem> OpenFile(const std::string& application, const tether::File& file,
                                              FileNotes& notes, int32_t& status) const override;
  std::shared_ptr<const SessionItem> OpenFarsideAsset(const std::string& application,
                                                      const tether::FarsideAssetRequestInfo& request,
                                                      int32_t& status) const override;

 private:
  const OwnerHandler* Find(const std::string& application) const;
  // Opens the project with `handler` and has it follow its file, so that an
  // edit on disk is read at a client's next request for one of its items.
  std::shared_ptr<const SessionProject> FollowFile(const OwnerHandler& handler, const tether::File& file,
                                                   const std::string& json, int32_t& status,
                                                   const ProgressSink& progress) const;

  std::map<std::string, std::shared_ptr<const OwnerHandler>> mHandlers;
  // Remote assets of a Farside service, fetched and kept in the cache folder.
  FarsideAssetOpener mFarside{FarsideAssetCache(FarsideAssetCache::DefaultFolder())};
};

}  // namespace tetherserver
