#pragma once

#include <KL/IProjectItem.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>

namespace KL {

// Lets the host refuse an edit that would make an item contain itself: an item
// that is made from other items tells whether it depends on one.
class ICircularDependencyOwner : public kilncore::classref::Unknown {
 public:
  ~ICircularDependencyOwner() override;

  // True if the item depends on the item identified by `id`.
  virtual bool ContainsDependance(kilncore::utility::Guid id) const = 0;
  // True if the item depends on `item`.
  virtual bool ContainsDependence(kilncore::classref::InterfaceRef<IProjectItem> item) const = 0;

 protected:
  ICircularDependencyOwner() = default;
};

}  // namespace KL
