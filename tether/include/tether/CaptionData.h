#pragma once

#include <tether/CaptionStreamEntry.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tether {

// The captions of an item as its server gives them.
struct CaptionData {
  // Format version of the record.
  int32_t version = 1;
  // The serialised caption data, UTF-8; empty when the item has none.
  std::string serializedData;
  std::vector<CaptionStreamEntry> streams;

  friend bool operator==(const CaptionData&, const CaptionData&) = default;
};

}  // namespace tether
