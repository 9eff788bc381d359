#pragma once

#include <tether/ItemInfo.h>

#include <kilncore/utility/Guid.h>

#include <vector>

namespace tether {

// A folder-like container of a project, with its entries as they were when it
// was fetched. Both operations are local.
class Container {
 public:
  virtual ~Container() = default;

  virtual kilncore::utility::Guid GetID() const = 0;
  // The entries, in the project's order.
  virtual std::vector<ItemInfo> GetContainedItems() const = 0;
};

}  // namespace tether
