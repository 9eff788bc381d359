#include "RequestTestSupport.h"

#include <TetherMedia/RequestFutures.h>

#include <kilncore/appstatemanager/AppState.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/Continuations.h>
#include <kilncore/logging/ScopedLogCapture.h>
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::async::FuturePromisePair;
using kilncore::utility::Guid;

constexpr int kThreads = 4;
constexpr int kPaths = 6;
const Guid kSource("8B701830-D959-420F-AA9C-5392B2F1B17E");

kilncore::WideString PathOf(int index) {
  return u"/Volumes/Media/clip" + kilncore::WideString(1, static_cast<char16_t>(u'0' + index)) +
         u".marl";
}

// One request handed out during a race, with a count of how often its end was
// seen by a continuation of the test's own.
struct TrackedRequest {
  FuturePromisePair<void> pair;
  std::shared_ptr<std::atomic<int>> ends = std::make_shared<std::atomic<int>>(0);
};

// Requests that any thread may finish, each exactly once.
class OpenRequests {
 public:
  void Add(TrackedRequest request) {
    std::lock_guard lock(mMutex);
    mOpen.push_back(std::move(request));
  }
  bool Take(TrackedRequest& request) {
    std::lock_guard lock(mMutex);
    if (mOpen.empty()) return false;
    request = std::move(mOpen.front());
    mOpen.pop_front();
    return true;
  }

 private:
  std::mutex mMutex;
  std::deque<TrackedRequest> mOpen;
};

// Every end of every request handed out, kept until the race is over.
class EndCounters {
 public:
  void Add(std::shared_ptr<std::atomic<int>> counter) {
    std::lock_guard lock(mMutex);
    mCounters.push_back(std::move(counter));
  }
  // How many requests didn't end exactly once.
  int CountWrong() {
    std::lock_guard lock(mMutex);
    int wrong = 0;
    for (const auto& counter : mCounters) wrong += counter->load() == 1 ? 0 : 1;
    return wrong;
  }
  std::size_t Size() {
    std::lock_guard lock(mMutex);
    return mCounters.size();
  }

 private:
  std::mutex mMutex;
  std::vector<std::shared_ptr<std::atomic<int>>> mCounters;
};

// Makes a request (named or not) and starts counting its ends. False if it
// was refused as a duplicate.
bool MakeTracked(std::mt19937& random, TrackedRequest& request, EndCounters& counters) {
  const bool named = random() % 2 == 0;
  request.pair = named ? CreateRequestFuture(PathOf(static_cast<int>(random() % kPaths)), kSource)
                       : CreateRequestFuture();
  if (request.pair.IsEmpty()) return false;
  kilncore::async::MakeContinuation(
      request.pair.future,
      [ends = request.ends](const kilncore::async::Future<void>&) { ends->fetch_add(1); });
  counters.Add(request.ends);
  return true;
}

// Ends `request` one of the ways a request can end.
void Finish(std::mt19937& random, TrackedRequest& request) {
  switch (random() % 4) {
    case 0:
      request.pair.promise.SetSuccess();
      break;
    case 1:
      request.pair.promise.SetException(std::make_exception_ptr(
          kilncore::config::kiln_exception("failed", kGeneralFailure)));
      break;
    case 2:
      request.pair.promise.Reset();
      break;
    default:
      request.pair.future.Reset();
      break;
  }
  request = TrackedRequest();
}

void RunWorker(unsigned seed, int operations, OpenRequests& open, EndCounters& counters) {
  std::mt19937 random(seed);
  for (int step = 0; step < operations; ++step) {
    switch (random() % 4) {
      case 0:
      case 1: {
        TrackedRequest request;
        if (MakeTracked(random, request, counters)) open.Add(std::move(request));
        break;
      }
      case 2:
        CancelRequest(PathOf(static_cast<int>(random() % kPaths)), kSource);
        break;
      default: {
        TrackedRequest request;
        if (open.Take(request)) Finish(random, request);
        break;
      }
    }
  }
}

using RequestConcurrencyTest = RequestTableTest;

TEST_F(RequestConcurrencyTest, EveryRequestEndsExactlyOnceUnderConcurrentUse) {
  kilncore::logging::ScopedLogCapture quiet;  // failures are expected here
  for (int round = 0; round < 20; ++round) {
    OpenRequests open;
    EndCounters counters;
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        start.arrive_and_wait();
        RunWorker(static_cast<unsigned>(round * kThreads + thread), 300, open, counters);
      });
    }
    for (auto& thread : threads) thread.join();

    std::mt19937 random(static_cast<unsigned>(round));
    TrackedRequest leftover;
    while (open.Take(leftover)) Finish(random, leftover);

    ASSERT_GT(counters.Size(), 0u);
    EXPECT_EQ(counters.CountWrong(), 0) << "round " << round;
    ASSERT_EQ(GetPendingRequestCountForTesting(), 0u) << "round " << round;
  }
}

TEST_F(RequestConcurrencyTest, TerminationDuringConcurrentUseEndsEveryRequestOnce) {
  kilncore::logging::ScopedLogCapture quiet;
  for (int round = 0; round < 10; ++round) {
    kilncore::appstatemanager::ResetAppStateForTesting();
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
    // The table exists before the race, so termination has something to tear down.
    CreateRequestFuture().promise.SetSuccess();

    OpenRequests open;
    EndCounters counters;
    std::barrier start(kThreads + 1);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        start.arrive_and_wait();
        RunWorker(static_cast<unsigned>(1000 + round * kThreads + thread), 200, open, counters);
      });
    }
    start.arrive_and_wait();
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
    for (auto& thread : threads) thread.join();

    // Requests in the table were failed by its destruction, those handed out
    // later had failed already; only those whose entry a refused duplicate took
    // out are still open. Finishing them all must still end each exactly once.
    std::mt19937 random(static_cast<unsigned>(round));
    TrackedRequest leftover;
    while (open.Take(leftover)) Finish(random, leftover);
    EXPECT_EQ(counters.CountWrong(), 0) << "round " << round;
    EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  }
}

}  // namespace
}  // namespace TetherMedia::testing
