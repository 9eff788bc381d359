#pragma once

#include <KL/IMasterClip.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>

namespace KL {

// A project item that is a clip: of a media file, or of a sequence.
class IClipProjectItem : public kilncore::classref::Unknown {
 public:
  ~IClipProjectItem() override;
  virtual kilncore::classref::InterfaceRef<IMasterClip> GetMasterClip() = 0;

 protected:
  IClipProjectItem() = default;
};

}  // namespace KL
