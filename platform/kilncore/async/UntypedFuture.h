#pragma once

#include <kilncore/async/detail/UntypedFutureState.h>

#include <chrono>
#include <exception>
#include <memory>

namespace kilncore::async {

// A future whose value type doesn't matter: enough to wait on it and to learn
// how it ended. Every Future<T> is an UntypedFuture. Holds a strong reference
// to its state; an empty future has none.
class UntypedFuture {
 public:
  UntypedFuture() = default;
  explicit UntypedFuture(std::shared_ptr<detail::UntypedFutureState> state)
      : mState(std::move(state)) {}

  // True if the future refers to a state.
  bool IsValid() const noexcept { return mState != nullptr; }
  explicit operator bool() const noexcept { return IsValid(); }

  // False for an empty future.
  bool IsReady() const { return mState && mState->IsReady(); }

  // The state's exception, copied under its mutex: empty for an empty future,
  // a state that isn't ready yet, and a state that succeeded.
  std::exception_ptr GetException() const {
    return mState ? mState->GetException() : std::exception_ptr();
  }

  const std::shared_ptr<detail::UntypedFutureState>& GetUntypedState() const noexcept {
    return mState;
  }

  // Lets go of the state. If this was its last future, the state is destroyed
  // and its pending continuations run as cancelled.
  void Reset() noexcept { mState.reset(); }

 protected:
  std::shared_ptr<detail::UntypedFutureState> mState;
};

// Blocks the calling thread until `future` is ready, and the continuations
// attached before it became ready have run (see UntypedFutureState), or until
// `deadline` passes; tells whether it is ready. With `block` false it only
// looks at readiness, without waiting. An empty future returns false at once:
// there is nothing to wait for.
//
// The future's state stays alive for the whole wait, since `future` holds it.
bool WaitForUntypedUntil(const UntypedFuture& future,
                         const std::chrono::steady_clock::time_point& deadline, bool block);

}  // namespace kilncore::async
