#include <requests/ServerWait.h>

#include <TetherMedia/RequestFutures.h>

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/config/KilnException.h>

#include <atomic>
#include <exception>
#include <utility>

namespace TetherMedia {
namespace {

// 0 means that no test has shortened the deadline.
std::atomic<int64_t> gDeadlineOverrideNanoseconds{0};

}  // namespace

int32_t ServerWait::Block(const Issue& issue) {
  kilncore::async::FuturePromisePair<void> pair = CreateRequestFuture();
  {
    // The promise is handed over in a local of its own, so that when the
    // client call has returned nothing here counts as a promise any more: only
    // the callback that the library holds keeps the wait from breaking.
    kilncore::async::Promise<void> promise = std::move(pair.promise);
    issue(promise);
  }
  WaitUntilDeadline(pair.future);
  return ResultCodeOf(pair.future);
}

void ServerWait::WaitUntilDeadline(const kilncore::async::UntypedFuture& future) {
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::duration_cast<std::chrono::steady_clock::duration>(CurrentDeadline());
  kilncore::async::WaitForUntypedUntil(future, deadline, true);
}

int32_t ServerWait::ResultCodeOf(const kilncore::async::UntypedFuture& future) {
  std::exception_ptr outcome;
  if (!future.IsValid()) {
    outcome = std::make_exception_ptr(kilncore::async::FutureIsCancelledException());
  } else if (future.IsReady()) {
    outcome = future.GetException();
  } else {
    outcome = std::make_exception_ptr(kilncore::async::FutureNotReadyException());
  }
  return kilncore::config::ExtractResultFromException(outcome);
}

std::chrono::nanoseconds ServerWait::CurrentDeadline() {
  const int64_t shortened = gDeadlineOverrideNanoseconds.load(std::memory_order_acquire);
  return shortened != 0 ? std::chrono::nanoseconds(shortened) : kDeadline;
}

ServerWait::ScopedDeadlineForTesting::ScopedDeadlineForTesting(std::chrono::nanoseconds deadline) {
  gDeadlineOverrideNanoseconds.store(deadline.count() > 0 ? deadline.count() : 1,
                                     std::memory_order_release);
}

ServerWait::ScopedDeadlineForTesting::~ScopedDeadlineForTesting() {
  gDeadlineOverrideNanoseconds.store(0, std::memory_order_release);
}

}  // namespace TetherMedia
