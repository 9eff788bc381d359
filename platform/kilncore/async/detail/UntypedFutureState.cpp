#include <kilncore/async/detail/UntypedFutureState.h>

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/detail/ContinuationCaller.h>
#include <kilncore/logging/Log.h>

#include <utility>

namespace kilncore::async::detail {
namespace {

constexpr const char* kDispatchLogContext = "kilncore::async::detail::UntypedFutureState::Dispatch";

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

  mReadyCondition.notify_all();
  // Whoever completes holds a strong reference (a promise locks its weak one
  // first), so this never comes back empty here; the reference keeps the state
  // alive for executors that run the continuation later.
  const std::shared_ptr<UntypedFutureState> self = weak_from_this().lock();
  for (auto& continuation : continuations) Dispatch(std::move(continuation), self);
  return true;
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
  std::unique_lock lock(mMutex);
  return mReadyCondition.wait_until(lock, deadline, [this] { return mReady; });
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
