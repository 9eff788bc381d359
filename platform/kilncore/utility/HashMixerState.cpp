#include <kilncore/utility/HashMixerState.h>

#include <xxhash.h>

#include <new>

namespace kilncore::utility {

struct HashMixerState::Impl {
  Impl() : state(XXH3_createState()) {
    if (state == nullptr) throw std::bad_alloc();
  }
  Impl(const Impl& other) : Impl() { XXH3_copyState(state, other.state); }
  Impl& operator=(const Impl&) = delete;
  ~Impl() { XXH3_freeState(state); }

  XXH3_state_t* state;
};

HashMixerState::HashMixerState(uint64_t seed) : mSeed(seed), mImpl(std::make_unique<Impl>()) {
  Reset();
}

HashMixerState::HashMixerState(const HashMixerState& other)
    : mSeed(other.mSeed), mImpl(std::make_unique<Impl>(*other.mImpl)) {}

HashMixerState& HashMixerState::operator=(const HashMixerState& other) {
  if (this != &other) {
    mSeed = other.mSeed;
    mImpl = std::make_unique<Impl>(*other.mImpl);
  }
  return *this;
}

HashMixerState::~HashMixerState() = default;

void HashMixerState::Update(const void* bytes, size_t size) {
  if (size == 0) return;
  XXH3_128bits_update(mImpl->state, bytes, size);
}

Guid HashMixerState::Result() const {
  const XXH128_hash_t hash = XXH3_128bits_digest(mImpl->state);
  // The canonical form is big-endian, high half first, on every machine.
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, hash);
  return Guid::FromBytes(canonical.digest);
}

void HashMixerState::Reset() { XXH3_128bits_reset_withSeed(mImpl->state, mSeed); }

void UpdateHashState(HashMixerState& state, const void* bytes, size_t size) {
  state.Update(bytes, size);
}

void GetHashResult(const HashMixerState& state, Guid& out) { out = state.Result(); }

}  // namespace kilncore::utility
