#pragma once

#include <tether/CaptionStreamEntry.h>

#include <cstdint>
#include <vector>

namespace tether {

// Which caption stream the host shows, sent to the server.
struct CaptionSelectionData {
  int32_t version = 1;
  int32_t streamIndex = 0;
  // Per-stream settings; callers that select by index leave it empty.
  std::vector<CaptionStreamEntry> streams;

  friend bool operator==(const CaptionSelectionData&, const CaptionSelectionData&) = default;
};

}  // namespace tether
