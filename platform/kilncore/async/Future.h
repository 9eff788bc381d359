#pragma once

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/UntypedFuture.h>
#include <kilncore/async/detail/FutureState.h>

#include <memory>
#include <utility>

namespace kilncore::async {

// The receiving end of a FutureState<T>: holds a strong reference, so the state
// lives at least as long as its futures. Copies share the state. When the last
// future (and the last chained future keeping it alive) goes away, the state is
// destroyed, and continuations still attached run as cancelled.
//
// Get the pair of a future and its promise from CreateFuturePromisePair.
template <class T>
class Future : public UntypedFuture {
 public:
  Future() = default;
  explicit Future(std::shared_ptr<detail::FutureState<T>> state) : UntypedFuture(std::move(state)) {}

  // The result: throws FutureIsCancelledException for an empty future,
  // FutureNotReadyException before the state is ready, and rethrows the stored
  // exception if it failed. Returns const T& (nothing for void).
  decltype(auto) Get() const {
    if (!mState) throw FutureIsCancelledException();
    return GetState()->GetResult();
  }

  std::shared_ptr<detail::FutureState<T>> GetState() const noexcept {
    return std::static_pointer_cast<detail::FutureState<T>>(mState);
  }
};

}  // namespace kilncore::async
