#pragma once

#include "OwnerHandler.h"

#include <memory>
#include <string>

namespace tetherserver {

// The Marl family: project files opened by the project model (server/project)
// and drawn by the renderer (server/render). Paths ending in ".synthetic" open
// the built-in synthetic project instead (SessionSyntheticContent), for tests
// and benchmarks of the link itself.
//
// The same files also serve, as plain files, applications whose own handler
// opens Marl-family files that way (OpenPlainFile): a handler made with
// `projects` false offers only that file road under its application's name.
class MarlHandler : public OwnerHandler {
 public:
  explicit MarlHandler(std::string application = "Marl", bool projects = true);

  std::string Application() const override;
  std::shared_ptr<const SessionProject> OpenProject(const tether::File& file, const std::string& json,
                                                    int32_t& status, const ProgressSink& progress) const override;
  bool ServesFiles() const override;
  std::shared_ptr<const SessionItem> OpenFile(const tether::File& file, FileNotes& notes,
                                              int32_t& status) const override;
  std::shared_ptr<const SessionItem> OpenFarsideAsset(const tether::FarsideAssetRequestInfo& request,
                                                      int32_t& status) const override;

  // The first composition of the Marl-family file `file`, as a plain file.
  static std::shared_ptr<const SessionItem> OpenPlainFile(const tether::File& file, FileNotes& notes,
                                                          int32_t& status);

 private:
  const std::string mApplication;
  const bool mProjects;
  std::shared_ptr<const SessionContent> mSynthetic;
};

}  // namespace tetherserver
