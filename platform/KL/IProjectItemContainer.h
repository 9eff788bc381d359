#pragma once

#include <KL/IProjectItem.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>

#include <cstdint>
#include <map>

namespace KL {

// A project item that holds others: a bin, or the project's root.
class IProjectItemContainer : public kilncore::classref::Unknown {
 public:
  // The contained items by their position, in order.
  using ContainedItemMap = std::map<uint32_t, kilncore::classref::InterfaceRef<IProjectItem>>;

  ~IProjectItemContainer() override;
  virtual ContainedItemMap GetContainedItemMap() = 0;

 protected:
  IProjectItemContainer() = default;
};

}  // namespace KL
