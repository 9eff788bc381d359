#pragma once

#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>

namespace KL {

// An object of the project with a stable identifier that survives saving.
class IUniqueSerializeable : public kilncore::classref::Unknown {
 public:
  ~IUniqueSerializeable() override;
  virtual kilncore::utility::Guid GetUniqueID() const = 0;
  virtual void SetUniqueID(const kilncore::utility::Guid& id) = 0;

 protected:
  IUniqueSerializeable() = default;
};

}  // namespace KL
