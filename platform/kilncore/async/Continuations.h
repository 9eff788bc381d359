#pragma once

#include <kilncore/async/Future.h>
#include <kilncore/async/Promise.h>
#include <kilncore/async/detail/ChainedContinuation.h>
#include <kilncore/config/KilnException.h>

#include <cstdint>
#include <exception>
#include <type_traits>
#include <utility>

namespace kilncore::async {

// Continuations: code that runs once a future's state has ended, however it
// ended. Common to the three functions below:
//
// - The continuation runs exactly once: when the state becomes ready (on the
//   completing thread, after the state's mutex is released, in the order of
//   attachment); at once on the calling thread if the state is ready already;
//   or, if the state is destroyed first because its last future went away, from
//   its destructor, seeing FutureIsCancelledException. An empty `future` counts
//   as destroyed.
// - It runs through the state's executor (by default inline, as said above).
// - Each returns a chained future. While that chained future lives, it keeps
//   the followed state alive; dropping it at once is normal and doesn't stop the
//   continuation.
// - An exception escaping the continuation is logged (context
//   ContinuationCaller::kLogContext) and goes no further; the chained future
//   then fails with BrokenPromiseException.
// - Continuations hold only weak references to the followed state. Capturing
//   the followed future strongly in one would keep the state alive until it is
//   completed.

// Runs `fn(future)` when the state has ended, and gives its result in the
// chained future. `fn` is called with a ready Future<T>: use GetException() or
// Get() on it to see how the state ended (FutureIsCancelledException if it was
// destroyed).
//
//   Future<void> removal = MakeContinuation(future, [key](const Future<void>&) { Erase(key); });
template <class T, class F>
auto MakeContinuation(const Future<T>& future, F&& fn)
    -> Future<std::decay_t<std::invoke_result_t<std::decay_t<F>&, const Future<T>&>>> {
  using R = std::decay_t<std::invoke_result_t<std::decay_t<F>&, const Future<T>&>>;
  return detail::AttachContinuation<R>(
      future, [fn = std::forward<F>(fn)](const Future<T>& outcome, const Promise<R>& chained) mutable {
        if constexpr (std::is_void_v<R>) {
          fn(outcome);
          chained.SetSuccess();
        } else {
          chained.SetValue(fn(outcome));
        }
      });
}

// Runs `fn(exception)` (fn takes a const std::exception_ptr&) only if the state
// ended with an exception, including FutureIsCancelledException when it was
// destroyed. The chained future ends as the followed state did: success, or the
// same exception.
template <class T, class F>
Future<void> SetUpOnExceptionHandler(const Future<T>& future, F&& fn) {
  return detail::AttachContinuation<void>(
      future, [fn = std::forward<F>(fn)](const Future<T>& outcome, const Promise<void>& chained) mutable {
        const std::exception_ptr exception = outcome.GetException();
        if (exception) fn(exception);
        detail::PassOutcomeOn(exception, chained);
      });
}

// Runs `fn` only if the state ended with an exception whose result code
// (config::ExtractResultFromException) is negative, i.e. a failure. An
// exception carrying a code of 0 or more is no failure and doesn't trigger it.
// `fn` takes either (int32_t result) or (int32_t result, const
// std::exception_ptr&). The chained future ends as the followed state did.
template <class T, class F>
Future<void> SetUpOnFailureHandler(const Future<T>& future, F&& fn) {
  return detail::AttachContinuation<void>(
      future, [fn = std::forward<F>(fn)](const Future<T>& outcome, const Promise<void>& chained) mutable {
        const std::exception_ptr exception = outcome.GetException();
        const int32_t result = config::ExtractResultFromException(exception);
        if (result < 0) {
          if constexpr (std::is_invocable_v<std::decay_t<F>&, int32_t, const std::exception_ptr&>) {
            fn(result, exception);
          } else {
            fn(result);
          }
        }
        detail::PassOutcomeOn(exception, chained);
      });
}

}  // namespace kilncore::async
