#include <source/TetherSource.h>

#include <requests/ServerWait.h>

#include <TetherMedia/RequestFutures.h>

#include <kilncore/config/KilnException.h>

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
  // The same wait, deadline and result codes as every other blocking answer
  // of a linked item.
  ServerWait::WaitUntilDeadline(request.future);
  {
    ScopedRecursiveLock lock(mRequestMutex);
    mRequests.erase(id);
  }
  return ServerWait::ResultCodeOf(request.future);
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
