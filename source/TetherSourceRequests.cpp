#include <source/TetherSource.h>

#include <TetherMedia/RequestFutures.h>

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/UntypedFuture.h>
#include <kilncore/config/KilnException.h>

#include <chrono>

namespace TetherMedia {

using kilncore::threads::ScopedRecursiveLock;
using kilncore::utility::Guid;

void TetherSource::AddRequest(Request& outRequest, Guid& outID) {
  outID = Guid::CreateUnique();
  outRequest = CreateRequestFuture();
  ScopedRecursiveLock lock(mRequestMutex);
  mRequests[outID] = outRequest.promise.GetWeakState();
}

int32_t TetherSource::WaitForRequest(const Request& request, const Guid& id) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::nanoseconds(kRequestWaitNanoseconds);
  kilncore::async::WaitForUntypedUntil(request.future, deadline, true);
  {
    ScopedRecursiveLock lock(mRequestMutex);
    mRequests.erase(id);
  }
  std::exception_ptr outcome;
  if (!request.future.IsValid()) {
    outcome = std::make_exception_ptr(kilncore::async::FutureIsCancelledException());
  } else if (request.future.IsReady()) {
    outcome = request.future.GetException();
  } else {
    outcome = std::make_exception_ptr(kilncore::async::FutureNotReadyException());
  }
  return kilncore::config::ExtractResultFromException(outcome);
}

int32_t TetherSource::CancelPendingRequests() {
  RequestMap open;
  {
    ScopedRecursiveLock lock(mRequestMutex);
    open.swap(mRequests);
  }
  // Failed with no lock held: the waiters' continuations run on this thread.
  for (const auto& [id, state] : open) {
    const kilncore::async::Promise<void> promise(state);
    if (promise.IsValid()) {
      promise.SetException(std::make_exception_ptr(kilncore::config::kiln_exception("User Canceled", kUserCanceled)));
    }
  }
  return 0;
}

}  // namespace TetherMedia
