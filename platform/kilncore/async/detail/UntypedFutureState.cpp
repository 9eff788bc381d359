#include <kilncore/async/detail/UntypedFutureState.h>

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/detail/ContinuationCaller.h>
#include <kilncore/logging/Log.h>

#include <utility>

namespace kilncore::async::detail {
namespace {

constexpr const char* kDispatchLogContext = "kilncore::async::detail::UntypedFutureState::Dispatch";

// The states whose continuations this thread is running at completion,
// innermost last (a continuation that completes a chained state nests). A state
// is listed only inside DispatchAtCompletion, which keeps it alive meanwhile.
thread_local std::vector<const UntypedFutureState*> tStatesDispatching;

// Lists a state in tStatesDispatching for the life of the scope.
class DispatchingScope {
 public:
  explicit DispatchingScope(const UntypedFutureState* state) { tStatesDispatching.push_back(state); }
  ~DispatchingScope() { tStatesDispatching.pop_back(); }
  DispatchingScope(const DispatchingScope&) = delete;
  DispatchingScope& operator=(const DispatchingScope&) = delete;
};

}  // namespace

UntypedFutureState::UntypedFutureState(ExecutorPtr executor)
    : mExecutor(executor ? std::move(executor) : GetDefaultExecutor()) {}

UntypedFutureState::~UntypedFutureState() {
  // Nobody else can reach a state that is being destroyed, so no lock. The
  // continuations hold only weak references to this state: they find it gone and
  // go on as cancelled.
  std::vector<std::function<void()>> continuations = std::move(mContinuations);
  for (auto& continuation : continuations) Dispatch(std::move(continuation), nullptr);
}

bool UntypedFutureState::IsReady() const {
  std::lock_guard lock(mMutex);
  return mReady;
}

std::exception_ptr UntypedFutureState::GetException() const {
  std::lock_guard lock(mMutex);
  return mException;
}

bool UntypedFutureState::SetException(std::exception_ptr exception) {
  return Complete(std::move(exception), nullptr);
}

bool UntypedFutureState::Complete(std::exception_ptr exception,
                                  const std::function<void()>& storeValue) {
  std::unique_lock lock(mMutex);
  return CompleteLocked(lock, std::move(exception), storeValue);
}

bool UntypedFutureState::CompleteLocked(std::unique_lock<std::mutex>& lock,
                                        std::exception_ptr exception,
                                        const std::function<void()>& storeValue) {
  if (mReady) return false;
  if (storeValue) storeValue();
  mException = std::move(exception);
  mReady = true;
  std::vector<std::function<void()>> continuations;
  continuations.swap(mContinuations);
  lock.unlock();

  // No notification yet: a waiter that woke now could go on before the
  // continuations have done their work (a request still in its table).
  DispatchAtCompletion(std::move(continuations));
  return true;
}

void UntypedFutureState::DispatchAtCompletion(std::vector<std::function<void()>> continuations) {
  // Whoever completes holds a strong reference (a promise locks its weak one
  // first), so this never comes back empty here; the reference keeps the state
  // alive for executors that run the continuation later.
  const std::shared_ptr<UntypedFutureState> self = weak_from_this().lock();
  {
    const DispatchingScope scope(this);
    for (auto& continuation : continuations) Dispatch(std::move(continuation), self);
  }
  Settle();
}

void UntypedFutureState::Settle() const {
  // Notified under the mutex: a woken waiter may drop the last reference to this
  // state as soon as it returns, and nothing here may touch the state after that.
  std::lock_guard lock(mMutex);
  if (mSettled) return;
  mSettled = true;
  mReadyCondition.notify_all();
}

void UntypedFutureState::SettleStatesOfThisThread() {
  for (const UntypedFutureState* state : tStatesDispatching) state->Settle();
}

void UntypedFutureState::AddContinuation(std::function<void()> continuation) {
  {
    std::lock_guard lock(mMutex);
    if (!mReady) {
      mContinuations.push_back(std::move(continuation));
      return;
    }
  }
  Dispatch(std::move(continuation), weak_from_this().lock());
}

void UntypedFutureState::Dispatch(std::function<void()> continuation,
                                  const std::shared_ptr<UntypedFutureState>& self) noexcept {
  try {
    mExecutor->Execute([self, continuation = std::move(continuation)] {
      ContinuationCaller::CallFutureContinuation(continuation);
    });
  } catch (...) {
    // An executor that can't take the task (out of memory, a closed queue): the
    // completing thread, often a client library's, must not see the failure.
    logging::LogException(std::current_exception(), kDispatchLogContext);
  }
}

bool UntypedFutureState::WaitUntil(const std::chrono::steady_clock::time_point& deadline) const {
  // Before taking this state's mutex: settling locks other states, one at a
  // time, and no two state mutexes are ever held together.
  SettleStatesOfThisThread();
  std::unique_lock lock(mMutex);
  while (!mSettled) {
    ++mBlockedWaiters;
    const std::cv_status status = mReadyCondition.wait_until(lock, deadline);
    --mBlockedWaiters;
    if (status == std::cv_status::timeout) break;
  }
  return mReady;
}

std::size_t UntypedFutureState::GetBlockedWaiterCount() const {
  std::lock_guard lock(mMutex);
  return mBlockedWaiters;
}

void UntypedFutureState::KeepAlive(std::shared_ptr<const UntypedFutureState> other) {
  if (!other) return;
  std::lock_guard lock(mMutex);
  mKeptAlive.push_back(std::move(other));
}

void UntypedFutureState::AddPromise() {
  std::lock_guard lock(mMutex);
  ++mPromiseCount;
}

void UntypedFutureState::ReleasePromise() {
  std::unique_lock lock(mMutex);
  if (mPromiseCount > 0) --mPromiseCount;
  if (mPromiseCount > 0 || mReady) return;
  // Decided under the same lock as the count, so a promise made meanwhile from a
  // weak reference can't see a state that is about to break under it.
  CompleteLocked(lock, std::make_exception_ptr(BrokenPromiseException()), nullptr);
}

std::size_t UntypedFutureState::GetPromiseCount() const {
  std::lock_guard lock(mMutex);
  return mPromiseCount;
}

}  // namespace kilncore::async::detail
