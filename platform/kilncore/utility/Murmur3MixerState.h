#pragma once

#include <kilncore/utility/HashMixerState.h>

namespace kilncore::utility {

// The host's running hash for frame identifiers.
//
// It is XXH3-128 like HashValueMixerState, but with its own seed, so that the
// two families of keys never coincide even for the same input bytes: a frame
// identifier can't be mistaken for a request key or a content state if the
// texts that callers mix in first as domain separators ever happened to match.
// XXH3 is used rather than MurmurHash3 itself because it is what the system
// ships as a maintained library with a streaming interface; callers only rely
// on a stable 128-bit hash with the order of its input kept. See
// docs/hashing.md.
class Murmur3MixerState : public HashMixerState {
 public:
  // The ASCII bytes "Murmur3\0" read as a big-endian number.
  static constexpr uint64_t kSeed = 0x4D75726D75723300ull;

  Murmur3MixerState() : HashMixerState(kSeed) {}
};

}  // namespace kilncore::utility
