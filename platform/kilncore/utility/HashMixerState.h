#pragma once

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kilncore::utility {

// A running 128-bit hash over bytes, whose result is a Guid.
//
// This is the common base of HashValueMixerState and Murmur3MixerState; code
// that only feeds bytes (for example a value that mixes itself into a hash)
// can take a HashMixerState& and serve both.
//
// The hash is XXH3-128 of the bytes fed in, in the order they were fed: feeding
// "ab" then "c" gives the same result as feeding "abc". It is stable across
// builds, runs, processes and machines, so results may be stored and compared
// later (frame cache keys, request keys). The two derived types differ only by
// the seed; see docs/hashing.md.
//
// A state isn't safe for concurrent use; each hash is computed by one thread.
class HashMixerState {
 public:
  HashMixerState(const HashMixerState& other);
  HashMixerState& operator=(const HashMixerState& other);
  // A moved-from state may only be assigned to or destroyed.
  HashMixerState(HashMixerState&&) noexcept = default;
  HashMixerState& operator=(HashMixerState&&) noexcept = default;
  ~HashMixerState();

  // Feeds `size` bytes. A null `bytes` with `size` 0 is allowed and changes
  // nothing.
  void Update(const void* bytes, size_t size);

  // The hash of everything fed so far. The state isn't changed: more bytes may
  // be fed afterwards, and the result then covers those too.
  Guid Result() const;

  // Forgets everything fed, as if newly made.
  void Reset();

  uint64_t Seed() const noexcept { return mSeed; }

 protected:
  explicit HashMixerState(uint64_t seed);

 private:
  struct Impl;
  uint64_t mSeed;
  std::unique_ptr<Impl> mImpl;
};

// Feeds `size` bytes at `bytes` to `state`.
void UpdateHashState(HashMixerState& state, const void* bytes, size_t size);

// Writes the hash of everything fed to `state` so far into `out`. The 128-bit
// result is laid out in the text order of the Guid: its high 64 bits are
// Data1, Data2, Data3 and the first two bytes of Data4, most significant first.
void GetHashResult(const HashMixerState& state, Guid& out);

}  // namespace kilncore::utility
