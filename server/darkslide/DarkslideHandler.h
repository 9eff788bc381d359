#pragma once

#include "OwnerHandler.h"

#include <string>

namespace tetherserver {

// Darkslide: catalogues (".dslcat", DarkslideReader) on the project road; each
// photo is an item at the catalogue's top level.
class DarkslideHandler : public OwnerHandler {
 public:
  std::string Application() const override { return "Darkslide"; }
  std::shared_ptr<const SessionProject> OpenProject(const tether::File& file, const std::string& json,
                                                    int32_t& status, const ProgressSink& progress) const override;
};

}  // namespace tetherserver
