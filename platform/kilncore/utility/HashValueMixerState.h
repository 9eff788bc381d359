#pragma once

#include <kilncore/utility/HashMixerState.h>

namespace kilncore::utility {

// The host's general-purpose running hash: XXH3-128 with seed 0, so its results
// equal XXH3_128bits of the concatenated input. Used for keys of requests and
// of content states.
//
// Example:
//   HashValueMixerState state;
//   UpdateHashState(state, "TetherFuture", 12);
//   Guid key;
//   GetHashResult(state, key);
class HashValueMixerState : public HashMixerState {
 public:
  static constexpr uint64_t kSeed = 0;

  HashValueMixerState() : HashMixerState(kSeed) {}
};

}  // namespace kilncore::utility
