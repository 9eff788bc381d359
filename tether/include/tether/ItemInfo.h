#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <cstdint>

namespace tether {

// One entry of a project's container: a leaf item (a composition, a sequence)
// or a folder-like container. Other types may come from newer servers and are
// to be skipped.
struct ItemInfo {
  static constexpr int32_t kTypeLeaf = 0;
  static constexpr int32_t kTypeContainer = 1;

  kilncore::WideString name;
  kilncore::utility::Guid id;
  int32_t type = kTypeLeaf;

  friend bool operator==(const ItemInfo&, const ItemInfo&) = default;
};

}  // namespace tether
