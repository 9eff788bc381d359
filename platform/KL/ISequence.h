#pragma once

#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>

namespace KL {

// A sequence of the host's project.
class ISequence : public kilncore::classref::Unknown {
 public:
  ~ISequence() override;

  // The identifier of the sequence, stable for its life in the project.
  virtual kilncore::utility::Guid GetSequenceID() const = 0;

 protected:
  ISequence() = default;
};

}  // namespace KL
