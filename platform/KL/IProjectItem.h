#pragma once

#include <kilncore/classref/Unknown.h>

namespace KL {

// An item of the host's project (a clip, a sequence, a folder). What an item
// is beyond that is asked through its other interfaces (KL::ISequence, ...),
// by query.
class IProjectItem : public kilncore::classref::Unknown {
 public:
  ~IProjectItem() override;

 protected:
  IProjectItem() = default;
};

}  // namespace KL
