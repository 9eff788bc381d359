#include <TetherMedia/RequestFutures.h>

#include <requests/RequestKey.h>
#include <requests/RequestTableForTesting.h>

#include <kilncore/allocator/STLAllocator.h>
#include <kilncore/appstatemanager/AppState.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/Continuations.h>
#include <kilncore/async/Promise.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/logging/Log.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/LazySingleton.h>
#include <kilncore/utility/LazySingletonStorage.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace TetherMedia {
namespace {

using kilncore::async::CreateFuturePromisePair;
using kilncore::async::Future;
using kilncore::async::FuturePromisePair;
using kilncore::async::Promise;
using kilncore::async::detail::FutureState;

constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);
constexpr int32_t kFutureIsCancelled =
    static_cast<int32_t>(kilncore::async::FutureIsCancelledException::kCode);

// The place named in the log when a request ends with an unexpected failure.
// Log readers search for this exact text, so it keeps its historical form.
constexpr const char* kRequestFailureLogContext =
    "`anonymous-namespace'::TetherFutureImpl::CreateFuture::<lambda_1>::operator ()";

constexpr const char* kTeardownLogContext = "TetherFutureImpl::~TetherFutureImpl";

std::exception_ptr MakeTerminationException() {
  return std::make_exception_ptr(kilncore::async::ProgramTerminationHasStartedException());
}

// The table of open requests: for each key, a weak reference to the state of
// its future. Weak, so that the table never keeps a request alive; each
// request's own continuation takes its entry out when it ends.
class TetherFutureImpl : public std::enable_shared_from_this<TetherFutureImpl> {
 public:
  TetherFutureImpl() = default;
  TetherFutureImpl(const TetherFutureImpl&) = delete;
  TetherFutureImpl& operator=(const TetherFutureImpl&) = delete;

  // Fails every request still open: the application is ending and nobody will
  // answer them.
  ~TetherFutureImpl();

  // A new pair whose request is entered under `key`; an empty pair if `key` is
  // taken already.
  FuturePromisePair<void> CreateFuture(const RequestKey& key);

  // Fails the request under `key` with "User Canceled", if there is one.
  void CancelFuture(const RequestKey& key);

  std::size_t GetPendingCount();

 private:
  using WeakState = std::weak_ptr<FutureState<void>>;
  using PendingMap =
      std::map<RequestKey, WeakState, std::less<RequestKey>,
               kilncore::allocator::STLAllocator<std::pair<const RequestKey, WeakState>>>;

  void AttachContinuations(const Future<void>& future, const RequestKey& key);
  void Remove(const RequestKey& key);

  kilncore::threads::RecursiveMutex mMutex;
  PendingMap mPendingRequests;  // guarded by mMutex
};

kilncore::utility::detail::LazySingletonStorage<TetherFutureImpl> gTetherFutureImpl;

// The table, made at first use; null once the application has reached the
// state at which it is torn down.
std::shared_ptr<TetherFutureImpl> GetTetherFutureImpl() {
  return kilncore::utility::detail::CreateLazySingleton(
      gTetherFutureImpl, kilncore::appstatemanager::kAppStateTerminating);
}

TetherFutureImpl::~TetherFutureImpl() {
  PendingMap open;
  try {
    kilncore::threads::ScopedRecursiveLock lock(mMutex);
    open.swap(mPendingRequests);
  } catch (...) {
    // Nobody else can hold the table while it is destroyed (every user holds a
    // reference to it), so this is only reached if locking itself broke.
    kilncore::logging::LogException(std::current_exception(), kTeardownLogContext);
    return;
  }
  // The removal continuations that run from here find the table gone and the
  // entries already taken out.
  for (const auto& [key, weakState] : open) {
    try {
      const Promise<void> promise(weakState);
      if (promise.IsValid()) promise.SetException(MakeTerminationException());
    } catch (...) {
      kilncore::logging::LogException(std::current_exception(), kTeardownLogContext);
    }
  }
}

FuturePromisePair<void> TetherFutureImpl::CreateFuture(const RequestKey& key) {
  FuturePromisePair<void> pair = CreateFuturePromisePair<void>();
  AttachContinuations(pair.future, key);

  bool inserted = false;
  {
    kilncore::threads::ScopedRecursiveLock lock(mMutex);
    inserted = mPendingRequests.try_emplace(key, WeakState(pair.future.GetState())).second;
  }
  if (inserted) return pair;

  // A request with this key is open already. Dropping the new pair breaks its
  // promise, and its removal continuation, which carries the same key, takes
  // the open request's entry out: that request goes on but can no longer be
  // cancelled. The promise is dropped first and here, with the table unlocked,
  // because the continuations take the table's lock themselves.
  pair.promise.Reset();
  return {};
}

void TetherFutureImpl::AttachContinuations(const Future<void>& future, const RequestKey& key) {
  // Nobody waits on the chained futures; each continuation still runs exactly
  // once, however the request ends.
  kilncore::async::SetUpOnExceptionHandler(future, [](const std::exception_ptr& exception) {
    const int32_t result = kilncore::config::ExtractResultFromException(exception);
    // A cancellation by the user and a dropped future are ordinary ends.
    if (result == kUserCanceled || result == kFutureIsCancelled) return;
    kilncore::logging::LogException(exception, kRequestFailureLogContext);
  });
  // Kept so that a failure handler is attached to every request, as to every
  // other future of the host; there is nothing more to do than the log above.
  kilncore::async::SetUpOnFailureHandler(future, [](int32_t /*result*/) {});
  kilncore::async::MakeContinuation(
      future, [key, weakTable = weak_from_this()](const Future<void>& /*outcome*/) {
        // After the table is gone (termination) there is nothing to remove.
        if (const std::shared_ptr<TetherFutureImpl> table = weakTable.lock()) table->Remove(key);
      });
}

void TetherFutureImpl::Remove(const RequestKey& key) {
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  mPendingRequests.erase(key);
}

void TetherFutureImpl::CancelFuture(const RequestKey& key) {
  Promise<void> promise;
  {
    kilncore::threads::ScopedRecursiveLock lock(mMutex);
    const auto found = mPendingRequests.find(key);
    if (found != mPendingRequests.end()) promise = Promise<void>(found->second);
  }
  // Set with the table unlocked: the continuations run right here, on this
  // thread, and take the table's lock (and maybe others) themselves.
  const std::exception_ptr canceled =
      std::make_exception_ptr(kilncore::config::kiln_exception("User Canceled", kUserCanceled));
  if (promise.IsValid()) promise.SetException(canceled);
}

std::size_t TetherFutureImpl::GetPendingCount() {
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  return mPendingRequests.size();
}

FuturePromisePair<void> CreateRequestFutureForKey(const RequestKey& key) {
  if (!kilncore::appstatemanager::WillTerminate()) {
    if (const std::shared_ptr<TetherFutureImpl> table = GetTetherFutureImpl()) {
      return table->CreateFuture(key);
    }
  }
  // Too late for new work: hand out a request that has failed already, so the
  // caller's wait ends at once with the reason. The table isn't touched.
  FuturePromisePair<void> pair = CreateFuturePromisePair<void>();
  pair.promise.SetException(MakeTerminationException());
  return pair;
}

}  // namespace

FuturePromisePair<void> CreateRequestFuture(const kilncore::WideString& path,
                                            const kilncore::utility::Guid& sourceID) {
  return CreateRequestFutureForKey(MakeRequestKey(path, sourceID));
}

FuturePromisePair<void> CreateRequestFuture() {
  return CreateRequestFutureForKey(kilncore::utility::Guid::CreateUnique());
}

void CancelRequest(const kilncore::WideString& path, const kilncore::utility::Guid& sourceID) {
  if (kilncore::appstatemanager::WillTerminate()) return;
  const std::shared_ptr<TetherFutureImpl> table = GetTetherFutureImpl();
  if (!table) return;
  table->CancelFuture(MakeRequestKey(path, sourceID));
}

std::size_t GetPendingRequestCountForTesting() {
  const std::shared_ptr<TetherFutureImpl> table = gTetherFutureImpl.Get();
  return table ? table->GetPendingCount() : 0;
}

}  // namespace TetherMedia
