#pragma once

#include <kilncore/async/Executor.h>
#include <kilncore/async/Future.h>
#include <kilncore/async/Promise.h>
#include <kilncore/async/detail/FutureState.h>

#include <memory>
#include <utility>

namespace kilncore::async {

// A future and the promise that completes it. An empty pair has both members
// null; callers use that to say "no request was made".
template <class T>
struct FuturePromisePair {
  Future<T> future;
  Promise<T> promise;

  // True for an empty pair.
  bool IsEmpty() const noexcept { return !future.IsValid() && !promise.IsValid(); }
};

// A new state with one future and one promise. An empty `executor` means
// GetDefaultExecutor(). The promise is the state's only promise.
template <class T>
FuturePromisePair<T> CreateFuturePromisePair(ExecutorPtr executor = nullptr) {
  auto state = std::make_shared<detail::FutureState<T>>(std::move(executor));
  FuturePromisePair<T> pair;
  pair.promise = Promise<T>(state);
  pair.future = Future<T>(std::move(state));
  return pair;
}

}  // namespace kilncore::async
