#pragma once

#include <kilncore/classref/Unknown.h>

namespace KL {

// The logging information of a clip (reel, comments, scenes) that an importer
// may be asked to take into its media's metadata. Its content is the host's.
class IClipLoggingInfo : public kilncore::classref::Unknown {
 public:
  ~IClipLoggingInfo() override;

 protected:
  IClipLoggingInfo() = default;
};

}  // namespace KL
