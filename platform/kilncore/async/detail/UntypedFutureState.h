#pragma once

#include <kilncore/async/Executor.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace kilncore::async::detail {

// The shared part of every future state, whatever its value type: readiness,
// the stored exception, the continuations, the count of promises and the
// states kept alive. Reached through Future (a strong reference) and Promise (a
// weak one); FutureState<T> adds the value.
//
// Rules that every state follows:
// - The first result wins; later ones are ignored.
// - Completing marks the state ready, takes the continuations out under the
//   state's mutex, then, with the mutex released, hands them to the executor,
//   in the order of attachment, on the completing thread.
// - A waiter returns only once the state is settled: ready, and every
//   continuation attached before completion handed to the executor (with the
//   default, inline executor: run to its end). So whatever a continuation does
//   on completion (a request leaving its table) is done before the waiter goes
//   on. Continuations attached after completion hold nobody back.
// - One exception keeps that from ever blocking a waiter for good: when a
//   thread that is running continuations itself starts to wait on a state (any
//   state, this one included), every state whose continuations that thread is
//   running counts as settled from then on. A continuation that waits on a
//   future depends on something outside its state; holding the state's waiters
//   back behind it could close a cycle (two continuations each waiting on the
//   other's state, or one waiting on its own state).
// - A continuation attached to a ready state is handed over at once, on the
//   attaching thread.
// - When the promise count falls to zero before the state is ready, the state
//   fails with BrokenPromiseException.
// - A state destroyed with continuations still attached runs them from its
//   destructor; they see the state gone (see Continuations.h). So each
//   continuation runs exactly once.
//
// The mutex is a plain std::mutex; a failure to lock it throws
// std::system_error.
class UntypedFutureState : public std::enable_shared_from_this<UntypedFutureState> {
 public:
  // An empty executor means GetDefaultExecutor().
  explicit UntypedFutureState(ExecutorPtr executor);
  virtual ~UntypedFutureState();
  UntypedFutureState(const UntypedFutureState&) = delete;
  UntypedFutureState& operator=(const UntypedFutureState&) = delete;

  bool IsReady() const;

  // A copy, taken under the mutex, of the stored exception: empty while the
  // state isn't ready and when it succeeded.
  std::exception_ptr GetException() const;

  // Fails the state with `exception` unless it has a result already. Returns
  // true if this call gave the result. A null `exception` counts as success.
  bool SetException(std::exception_ptr exception);

  // Attaches `continuation`, to be run when the state becomes ready, or at once
  // if it is ready already.
  void AddContinuation(std::function<void()> continuation);

  // Blocks until the state is settled (see above) or `deadline` passes; true if
  // the state is ready. A state that is ready but not settled at the deadline
  // still answers true: its result is there.
  bool WaitUntil(const std::chrono::steady_clock::time_point& deadline) const;

  // How many threads are asleep in WaitUntil right now. For diagnostics and
  // tests that must know a waiter is blocked before they let a continuation go.
  std::size_t GetBlockedWaiterCount() const;

  // Keeps `other` alive for as long as this state lives. A chained state uses it
  // on the state that it follows.
  void KeepAlive(std::shared_ptr<const UntypedFutureState> other);

  // The count of promises. Releasing the last one while not ready breaks the
  // promise (see above).
  void AddPromise();
  void ReleasePromise();
  std::size_t GetPromiseCount() const;

  const ExecutorPtr& GetExecutor() const noexcept { return mExecutor; }

 protected:
  // Makes the state ready with `exception` (null for success) if it has no
  // result yet. `storeValue`, if given, runs under the mutex just before, so a
  // thread that sees the state ready sees the value too. Returns true if this
  // call gave the result.
  bool Complete(std::exception_ptr exception, const std::function<void()>& storeValue);

 private:
  // Complete with the mutex held through `lock`, which it releases before the
  // continuations are handed over.
  bool CompleteLocked(std::unique_lock<std::mutex>& lock, std::exception_ptr exception,
                      const std::function<void()>& storeValue);
  // Hands the continuations taken out at completion to the executor, with this
  // state marked as the calling thread's own while they run, then settles it.
  void DispatchAtCompletion(std::vector<std::function<void()>> continuations);
  // Hands one continuation to the executor; `self` keeps this state alive until
  // it has run (null from the destructor).
  void Dispatch(std::function<void()> continuation,
                const std::shared_ptr<UntypedFutureState>& self) noexcept;
  // Lets the waiters go. Idempotent.
  void Settle() const;
  // Settles every state whose continuations the calling thread is running: it
  // is about to wait, and must not hold anyone back while it does.
  static void SettleStatesOfThisThread();

  mutable std::mutex mMutex;
  mutable std::condition_variable mReadyCondition;
  const ExecutorPtr mExecutor;
  bool mReady = false;
  // Ready, and the continuations attached before completion handed over (or the
  // thread running them has started to wait). Waiters wait for this.
  mutable bool mSettled = false;
  mutable std::size_t mBlockedWaiters = 0;
  std::exception_ptr mException;
  std::vector<std::function<void()>> mContinuations;
  std::size_t mPromiseCount = 0;
  std::vector<std::shared_ptr<const UntypedFutureState>> mKeptAlive;
};

}  // namespace kilncore::async::detail
