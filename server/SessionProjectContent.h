#pragma once

#include "SessionContent.h"

namespace tetherserver {

// The content of the reference server: Marl-family project files opened by
// the project model (server/project) and drawn by the renderer
// (server/render). Paths ending in ".synthetic" open the built-in synthetic
// project instead (SessionSyntheticContent), for tests and benchmarks of the
// link itself.
class SessionProjectContent : public SessionContent {
 public:
  SessionProjectContent();

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
  std::shared_ptr<const SessionContent> mSynthetic;
};

}  // namespace tetherserver
