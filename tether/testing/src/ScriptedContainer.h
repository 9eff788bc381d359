#pragma once

#include "ScriptedObject.h"

#include <tether/Container.h>

#include <vector>

namespace tether::testing {

// A container of the double, with the entries of its project's setup.
class ScriptedContainer : public Container, protected ScriptedObject {
 public:
  ScriptedContainer(std::weak_ptr<ScriptedBackend> backend, const kilncore::utility::Guid& id,
                    std::vector<ItemInfo> items)
      : ScriptedObject(std::move(backend), id.AsUTF8String()), mID(id), mItems(std::move(items)) {}

  kilncore::utility::Guid GetID() const override {
    Begin(Operation::kGetContainerID, Key());
    return mID;
  }
  std::vector<ItemInfo> GetContainedItems() const override {
    Begin(Operation::kGetContainedItems, Key());
    return mItems;
  }

 private:
  kilncore::utility::Guid mID;
  std::vector<ItemInfo> mItems;
};

}  // namespace tether::testing
