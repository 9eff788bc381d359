#pragma once

#include <cstdint>
#include <string>

namespace tether {

// One caption stream of an item.
struct CaptionStreamEntry {
  uint64_t streamID = 0;
  bool selected = false;
  // The stream's label for the user (language or name), UTF-8.
  std::string label;

  friend bool operator==(const CaptionStreamEntry&, const CaptionStreamEntry&) = default;
};

}  // namespace tether
