// A waiter returns only once the continuations attached before completion have
// run, and no continuation that waits on a future can hold a waiter back for
// good. Continuations that must stay inside their work block on latches the
// test controls; nothing here depends on timing.

#include "AsyncTestSupport.h"

#include <kilncore/async/Continuations.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/async/UntypedFuture.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace kilncore::async {
namespace {

using std::chrono::steady_clock;

constexpr int kRounds = 500;
const auto kOneDay = std::chrono::nanoseconds(86400000000000);

bool WaitOneDay(const UntypedFuture& future) {
  return WaitForUntypedUntil(future, steady_clock::now() + kOneDay, true);
}

// Counts down `latch` once, whoever asks first.
class OneShot {
 public:
  explicit OneShot(std::latch& latch) : mLatch(latch) {}
  void Fire() {
    if (!mFired.exchange(true)) mLatch.count_down();
  }

 private:
  std::latch& mLatch;
  std::atomic<bool> mFired{false};
};

TEST(WaiterSettling, WaiterReturnsOnlyAfterTheContinuationHasRun) {
  auto pair = CreateFuturePromisePair<void>();
  std::latch entered(1);
  std::latch release(1);
  OneShot releaseOnce(release);
  std::atomic<bool> ran{false};
  MakeContinuation(pair.future, [&](const Future<void>&) {
    entered.count_down();
    release.wait();
    ran = true;
  });
  std::thread completer([promise = pair.promise] { promise.SetSuccess(); });
  entered.wait();

  // Lets the continuation go only once the waiter is asleep in its wait; a
  // waiter that doesn't sleep (the state is ready after all) never releases it.
  std::atomic<bool> waitEnded{false};
  std::thread releaser([&] {
    const auto state = pair.future.GetUntypedState();
    while (!waitEnded && state->GetBlockedWaiterCount() == 0) std::this_thread::yield();
    releaseOnce.Fire();
  });

  const bool ready = WaitOneDay(pair.future);
  const bool ranBeforeTheWaiterWentOn = ran;
  waitEnded = true;
  releaseOnce.Fire();
  releaser.join();
  completer.join();

  EXPECT_TRUE(ready);
  EXPECT_TRUE(ranBeforeTheWaiterWentOn);
}

TEST(WaiterSettling, EveryContinuationHasRunWhenAWaiterOnAnotherThreadReturns) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::vector<int> order;
    MakeContinuation(pair.future, [&](const Future<void>&) { order.push_back(1); });
    MakeContinuation(pair.future, [&](const Future<void>&) { order.push_back(2); });
    std::thread completer([promise = pair.promise] { promise.SetSuccess(); });
    ASSERT_TRUE(WaitOneDay(pair.future));
    // Read before the join: the wait alone must make the writes visible.
    ASSERT_EQ(order, (std::vector<int>{1, 2})) << "round " << round;
    completer.join();
  }
}

TEST(WaiterSettling, BrokenPromiseRunsTheContinuationsBeforeTheWaiterReturns) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::atomic<int32_t> seen{0};
    MakeContinuation(pair.future, [&](const Future<void>& f) { seen = test::CodeOf(f.GetException()); });
    std::thread dropper([promise = std::move(pair.promise)]() mutable { promise.Reset(); });
    ASSERT_TRUE(WaitOneDay(pair.future));
    ASSERT_EQ(seen.load(), test::kBrokenPromise) << "round " << round;
    dropper.join();
  }
}

TEST(WaiterSettling, ContinuationWaitingOnItsOwnStateGoesOn) {
  auto pair = CreateFuturePromisePair<void>();
  std::atomic<bool> sawReady{false};
  MakeContinuation(pair.future, [&](const Future<void>& outcome) {
    sawReady = WaitOneDay(outcome);
  });
  pair.promise.SetSuccess();
  EXPECT_TRUE(sawReady);
  EXPECT_TRUE(WaitOneDay(pair.future));
}

TEST(WaiterSettling, ContinuationWaitingOnAnotherFutureLetsTheWaitersGo) {
  auto first = CreateFuturePromisePair<void>();
  auto second = CreateFuturePromisePair<void>();
  std::atomic<bool> secondSeen{false};
  MakeContinuation(first.future, [&, other = second.future](const Future<void>&) {
    secondSeen = WaitOneDay(other);
  });
  std::thread completer([promise = first.promise] { promise.SetSuccess(); });

  // The continuation is stuck until `second` is completed, which happens only
  // after this wait has returned.
  EXPECT_TRUE(WaitOneDay(first.future));
  EXPECT_FALSE(secondSeen);
  second.promise.SetSuccess();
  completer.join();
  EXPECT_TRUE(secondSeen);
}

TEST(WaiterSettling, ContinuationsWaitingOnEachOthersStatesBothFinish) {
  for (int round = 0; round < kRounds / 10; ++round) {
    auto a = CreateFuturePromisePair<void>();
    auto b = CreateFuturePromisePair<void>();
    std::atomic<int> finished{0};
    MakeContinuation(a.future, [&, other = b.future](const Future<void>&) {
      if (WaitOneDay(other)) ++finished;
    });
    MakeContinuation(b.future, [&, other = a.future](const Future<void>&) {
      if (WaitOneDay(other)) ++finished;
    });
    std::latch start(2);
    std::thread completeA([&, promise = a.promise] {
      start.arrive_and_wait();
      promise.SetSuccess();
    });
    std::thread completeB([&, promise = b.promise] {
      start.arrive_and_wait();
      promise.SetSuccess();
    });
    completeA.join();
    completeB.join();
    ASSERT_EQ(finished.load(), 2) << "round " << round;
    ASSERT_TRUE(WaitOneDay(a.future));
    ASSERT_TRUE(WaitOneDay(b.future));
  }
}

TEST(WaiterSettling, ContinuationAttachedByAContinuationRunsBeforeTheWaiterReturns) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::atomic<bool> nestedRan{false};
    MakeContinuation(pair.future, [&](const Future<void>& outcome) {
      MakeContinuation(outcome, [&](const Future<void>&) { nestedRan = true; });
    });
    std::thread completer([promise = pair.promise] { promise.SetSuccess(); });
    ASSERT_TRUE(WaitOneDay(pair.future));
    ASSERT_TRUE(nestedRan) << "round " << round;
    completer.join();
  }
}

TEST(WaiterSettling, ContinuationAttachedAfterCompletionHoldsNoWaiterBack) {
  auto pair = CreateFuturePromisePair<void>();
  pair.promise.SetSuccess();
  std::latch entered(1);
  std::latch release(1);
  std::thread attacher([&, future = pair.future] {
    MakeContinuation(future, [&](const Future<void>&) {
      entered.count_down();
      release.wait();
    });
  });
  entered.wait();
  EXPECT_TRUE(WaitOneDay(pair.future));
  release.count_down();
  attacher.join();
}

TEST(WaiterSettling, WithAQueueingExecutorTheWaiterReturnsOnceTheContinuationsAreHandedOver) {
  auto executor = std::make_shared<test::QueueExecutor>();
  auto pair = CreateFuturePromisePair<void>(executor);
  std::atomic<bool> ran{false};
  MakeContinuation(pair.future, [&](const Future<void>&) { ran = true; });
  std::thread completer([promise = pair.promise] { promise.SetSuccess(); });
  EXPECT_TRUE(WaitOneDay(pair.future));
  completer.join();
  EXPECT_EQ(executor->Pending(), 1u);
  EXPECT_FALSE(ran);
  executor->RunAll();
  EXPECT_TRUE(ran);
}

TEST(WaiterSettling, PassedDeadlineOnAReadyStateStillAnswersReady) {
  auto pair = CreateFuturePromisePair<void>();
  std::latch entered(1);
  std::latch release(1);
  MakeContinuation(pair.future, [&](const Future<void>&) {
    entered.count_down();
    release.wait();
  });
  std::thread completer([promise = pair.promise] { promise.SetSuccess(); });
  entered.wait();
  EXPECT_TRUE(WaitForUntypedUntil(pair.future, steady_clock::now() - std::chrono::seconds(1), true));
  release.count_down();
  completer.join();
}

}  // namespace
}  // namespace kilncore::async
