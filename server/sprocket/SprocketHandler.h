#pragma once

#include "OwnerHandler.h"

#include <string>

namespace tetherserver {

// Sprocket: scene files (".spkscene") and source-type projects (".spkproj"),
// one format (SprocketReader), opened on the project road. Each scene is an
// item at the project's top level. A source-type project is opened with the
// clip's render options (OpenProjectWithJSON), which change what it draws.
class SprocketHandler : public OwnerHandler {
 public:
  std::string Application() const override { return "Sprocket"; }
  std::shared_ptr<const SessionProject> OpenProject(const tether::File& file, const std::string& json,
                                                    int32_t& status, const ProgressSink& progress) const override;
};

}  // namespace tetherserver
