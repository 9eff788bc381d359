#pragma once

#include <kilncore/classref/UnknownBase.h>

namespace kilncore::classref {

// The base of every interface. It derives virtually from UnknownBase so that an
// object implementing several interfaces shares one UnknownBase among them.
class Unknown : public virtual UnknownBase {
 public:
  ~Unknown() override;

 protected:
  Unknown() = default;
  Unknown(const Unknown&) = default;
  Unknown& operator=(const Unknown&) = default;
};

}  // namespace kilncore::classref
