#pragma once

#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>

namespace KL {

// The media behind clips: a file, or a sequence of the project.
class IMasterClip : public kilncore::classref::Unknown {
 public:
  ~IMasterClip() override;
  virtual kilncore::WideString GetName() const = 0;
  // The media file; empty for a sequence.
  virtual kilncore::WideString GetMediaPath() const = 0;

 protected:
  IMasterClip() = default;
};

}  // namespace KL
