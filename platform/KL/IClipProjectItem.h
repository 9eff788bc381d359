#pragma once

#include <KL/IMasterClip.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>

#include <cstdint>

namespace KL {

// A project item that is a clip: of a media file, or of a sequence.
class IClipProjectItem : public kilncore::classref::Unknown {
 public:
  ~IClipProjectItem() override;
  virtual kilncore::classref::InterfaceRef<IMasterClip> GetMasterClip() = 0;
  // The master clip of the given kind. Kind 2 is the clip's own media; the
  // reference model keeps no other kind, so every kind answers that.
  kilncore::classref::InterfaceRef<IMasterClip> GetMasterClip(int32_t kind) {
    static_cast<void>(kind);
    return GetMasterClip();
  }

 protected:
  IClipProjectItem() = default;
};

}  // namespace KL
