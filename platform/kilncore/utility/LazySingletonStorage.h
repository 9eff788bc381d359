#pragma once

#include <kilncore/appstatemanager/AppStateManager.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace kilncore::utility::detail {

// Holds the one instance of a lazy singleton: a process-wide object made at
// first use and destroyed when the application reaches a given state (see
// CreateLazySingleton and DestroyOnAppState in LazySingleton.h).
//
// Give it static storage duration. It is constant-initialised, so it may be used
// from other static initialisers. The instance is handed out as a shared_ptr:
// a thread still using it when the end-of-life state is reached keeps it alive
// until it lets go, rather than touching freed memory.
//
// First use happens once per application generation (see
// appstatemanager::GetAppStateGeneration): after ResetAppStateForTesting the
// next use makes a fresh instance, which is what lets tests run termination
// repeatedly. In a real run there is only generation 0.
template <class T>
class LazySingletonStorage {
 public:
  constexpr LazySingletonStorage() noexcept = default;
  LazySingletonStorage(const LazySingletonStorage&) = delete;
  LazySingletonStorage& operator=(const LazySingletonStorage&) = delete;

  // The instance; null before first use, after destruction, and for good when
  // first use came after the end of its life.
  std::shared_ptr<T> Get() const {
    std::lock_guard lock(mMutex);
    return mInstance;
  }

  // First use, guarded: the first caller of a generation runs `create` (with the
  // storage locked, so concurrent first users wait for it), unless the
  // application has reached `endOfLifeState` already, in which case nothing is
  // made. Returns the instance and whether this call made it. `create` must not
  // use this singleton.
  template <class Factory>
  std::pair<std::shared_ptr<T>, bool> GetOrCreate(int endOfLifeState, Factory&& create) {
    std::shared_ptr<T> replaced;  // an instance left from an earlier generation
    std::lock_guard lock(mMutex);
    const uint64_t generation = appstatemanager::GetAppStateGeneration();
    if (mInitialised && mGeneration == generation) return {mInstance, false};
    replaced = std::move(mInstance);
    mInitialised = true;
    mGeneration = generation;
    if (appstatemanager::HasReachedAppStateAlready(endOfLifeState)) return {nullptr, false};
    mInstance = std::forward<Factory>(create)();
    return {mInstance, mInstance != nullptr};
  }

  // Drops the instance if it was made in `generation`. The pointer stays null
  // for the rest of that generation. The instance itself is destroyed outside
  // the lock, by whoever lets go of it last.
  void DestroyInstance(uint64_t generation) {
    std::shared_ptr<T> dropped;
    {
      std::lock_guard lock(mMutex);
      if (!mInitialised || mGeneration != generation) return;
      dropped = std::move(mInstance);
    }
  }

 private:
  mutable std::mutex mMutex;
  std::shared_ptr<T> mInstance;
  bool mInitialised = false;
  uint64_t mGeneration = 0;
};

}  // namespace kilncore::utility::detail
