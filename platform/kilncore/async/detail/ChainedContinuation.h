#pragma once

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/Future.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/async/Promise.h>
#include <kilncore/async/detail/ContinuationCaller.h>
#include <kilncore/async/detail/FutureState.h>

#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace kilncore::async::detail {

// A ready future that failed with FutureIsCancelledException: what a
// continuation sees when the state it follows no longer exists.
template <class T>
Future<T> MakeCancelledFuture() {
  auto pair = CreateFuturePromisePair<T>();
  pair.promise.SetException(std::make_exception_ptr(FutureIsCancelledException()));
  return std::move(pair.future);
}

// Ends `chained` the way `exception` says: success when empty.
inline void PassOutcomeOn(const std::exception_ptr& exception, const Promise<void>& chained) {
  if (exception) {
    chained.SetException(exception);
  } else {
    chained.SetSuccess();
  }
}

// The machinery behind every continuation: attaches to `followed` a
// continuation that calls `body(outcome, chainedPromise)` exactly once, where
// `outcome` is a ready Future<T> (the followed state itself, or a cancelled
// stand-in if that state was destroyed first), and returns the chained future.
//
// Ownership, chosen so that nothing keeps itself alive:
// - the followed state owns the continuation;
// - the continuation holds the followed state weakly and the chained state
//   through a promise, i.e. weakly too;
// - the chained state keeps the followed state alive (KeepAlive), so the
//   followed state lives at least as long as the chained future.
// If `body` throws, ContinuationCaller logs it; the chained promise is then
// dropped unanswered and the chained future fails with BrokenPromiseException.
//
// An empty `followed` has no state to wait for: `body` runs at once, cancelled.
template <class R, class T, class Body>
Future<R> AttachContinuation(const Future<T>& followed, Body&& body) {
  std::shared_ptr<FutureState<T>> followedState = followed.GetState();
  auto chained = CreateFuturePromisePair<R>(followedState ? followedState->GetExecutor() : nullptr);

  std::function<void()> continuation =
      [weakFollowed = std::weak_ptr<FutureState<T>>(followedState),
       promise = std::move(chained.promise), body = std::forward<Body>(body)]() mutable {
        std::shared_ptr<FutureState<T>> state = weakFollowed.lock();
        const Future<T> outcome = state ? Future<T>(std::move(state)) : MakeCancelledFuture<T>();
        body(outcome, promise);
      };

  if (followedState) {
    chained.future.GetState()->KeepAlive(followedState);
    followedState->AddContinuation(std::move(continuation));
  } else {
    ContinuationCaller::CallFutureContinuation(continuation);
  }
  return std::move(chained.future);
}

}  // namespace kilncore::async::detail
