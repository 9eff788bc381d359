#pragma once

#include "OwnerHandler.h"

#include <string>

namespace tetherserver {

// Easel: documents (".esd", EaselReader) on the file road. The typed server
// connects a file server, and a document is one item: its layered still image.
class EaselHandler : public OwnerHandler {
 public:
  std::string Application() const override { return "Easel"; }
  bool ServesFiles() const override { return true; }
  // The document's item; the notes say what it lacks (its pictures and fonts).
  std::shared_ptr<const SessionItem> OpenFile(const tether::File& file, FileNotes& notes,
                                              int32_t& status) const override;
};

}  // namespace tetherserver
