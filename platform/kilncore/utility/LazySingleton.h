#pragma once

#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/utility/LazySingletonStorage.h>
#include <kilncore/utility/Seam.h>

#include <functional>

#include <memory>
#include <utility>

namespace kilncore::utility::detail {

// Seam of DestroyOnAppState (see kilncore/utility/Seam.h), whatever the
// singleton's type: it is given the state and the destruction to arrange, and
// by default registers the destruction for that state.
Seam<void(int state, std::function<void()> destroy)>& DestroyOnAppStateSeam();

// Arranges for the instance held by `storage` to be destroyed when the
// application reaches `state`; at once if it has reached it already. Only the
// instance of the current generation is concerned.
template <class T>
void DestroyOnAppState(LazySingletonStorage<T>& storage, int state) {
  const uint64_t generation = appstatemanager::GetAppStateGeneration();
  DestroyOnAppStateSeam()(state, [&storage, generation] { storage.DestroyInstance(generation); });
}

// Returns the singleton held by `storage`, making it with `create` (a callable
// returning std::shared_ptr<T>) at first use, and tying its end to
// `endOfLifeState`. If first use comes when that state has been reached
// already, no instance is made and the result is null from then on. Also null
// after the instance has been destroyed.
//
//   LazySingletonStorage<Table> gTable;
//   std::shared_ptr<Table> table = CreateLazySingleton(
//       gTable, appstatemanager::kAppStateTerminating, [] { return std::make_shared<Table>(); });
//   if (!table) return;  // too late in the application's life
template <class T, class Factory>
std::shared_ptr<T> CreateLazySingleton(LazySingletonStorage<T>& storage, int endOfLifeState,
                                       Factory&& create) {
  auto [instance, created] = storage.GetOrCreate(endOfLifeState, std::forward<Factory>(create));
  // Registered outside the storage's lock: if the state has been reached in the
  // meantime, the destruction runs right here and needs that lock.
  if (created) DestroyOnAppState(storage, endOfLifeState);
  return instance;
}

// The same, making the instance with std::make_shared<T>().
template <class T>
std::shared_ptr<T> CreateLazySingleton(LazySingletonStorage<T>& storage, int endOfLifeState) {
  return CreateLazySingleton(storage, endOfLifeState, [] { return std::make_shared<T>(); });
}

}  // namespace kilncore::utility::detail
