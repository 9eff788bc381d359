#pragma once

#include "OwnerHandler.h"

#include <memory>
#include <string>

namespace tetherserver {

// The host application's own project server ("Tolmen"): host project files
// (".tlmproj", ".tlmprojx", docs/project-format.md) on the project road; on the
// file road, Final Cut Pro XML (".xml", ProjectXML::XmemlReader), whose first
// sequence is the file's item, and plain files of the Marl family
// (MarlHandler::OpenPlainFile).
class TolmenHandler : public OwnerHandler {
 public:
  std::string Application() const override;
  // A host project file; another extension is not supported, a file that
  // can't be read is not found or failed (the reason goes to the log).
  std::shared_ptr<const SessionProject> OpenProject(const tether::File& file, const std::string& json,
                                                    int32_t& status, const ProgressSink& progress) const override;
  bool ServesFiles() const override { return true; }
  std::shared_ptr<const SessionItem> OpenFile(const tether::File& file, FileNotes& notes,
                                              int32_t& status) const override;
};

}  // namespace tetherserver
