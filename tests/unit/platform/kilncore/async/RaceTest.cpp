// Races between the two ends of a state, each run many times. They rely on the
// rules holding for every interleaving; ThreadSanitizer checks the rest.

#include "AsyncTestSupport.h"

#include <kilncore/async/Continuations.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/async/UntypedFuture.h>
#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kilncore::async {
namespace {

using std::chrono::steady_clock;
using test::CodeOf;

constexpr int kRounds = 500;
const auto kOneDay = std::chrono::nanoseconds(86400000000000);

TEST(Race, PromiseSetWhileContinuationAttachesRunsItExactlyOnce) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<int>();
    std::atomic<int> runs{0};
    std::atomic<int> seenValue{0};
    std::latch start(2);
    std::thread setter([&] {
      start.arrive_and_wait();
      pair.promise.SetValue(round + 1);
    });
    start.arrive_and_wait();
    MakeContinuation(pair.future, [&](const Future<int>& f) {
      seenValue = f.Get();
      ++runs;
    });
    setter.join();
    ASSERT_EQ(runs.load(), 1) << "round " << round;
    ASSERT_EQ(seenValue.load(), round + 1);
  }
}

TEST(Race, LastFutureDroppedWhilePromiseIsSetRunsContinuationExactlyOnce) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::atomic<int> runs{0};
    std::atomic<int32_t> code{1};
    MakeContinuation(pair.future, [&](const Future<void>& f) {
      code = CodeOf(f.GetException());
      ++runs;
    });
    std::latch start(2);
    std::thread setter([&] {
      start.arrive_and_wait();
      pair.promise.SetSuccess();
    });
    start.arrive_and_wait();
    pair.future.Reset();
    setter.join();
    ASSERT_EQ(runs.load(), 1) << "round " << round;
    // Either the result arrived first, or the state was gone.
    ASSERT_TRUE(code.load() == 0 || code.load() == test::kCancelled) << code.load();
  }
}

TEST(Race, LastFutureDroppedOnAnotherThreadWhilePromiseFailsItEndsItOnce) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::atomic<int> runs{0};
    std::atomic<int32_t> code{1};
    MakeContinuation(pair.future, [&](const Future<void>& f) {
      code = CodeOf(f.GetException());
      ++runs;
    });
    std::latch start(2);
    std::thread dropper([&, future = std::move(pair.future)]() mutable {
      start.arrive_and_wait();
      future.Reset();
    });
    start.arrive_and_wait();
    const bool tookEffect = pair.promise.SetException(test::MakeKilnError(-1));
    dropper.join();
    ASSERT_EQ(runs.load(), 1) << "round " << round;
    // The continuation saw the failure if it came first, and the cancellation
    // of a destroyed state otherwise; after that the promise is inert.
    ASSERT_EQ(code.load(), tookEffect ? -1 : test::kCancelled);
    ASSERT_FALSE(pair.promise.IsValid());
    ASSERT_FALSE(pair.promise.SetSuccess());
  }
}

TEST(Race, LastPromiseDroppedWhileAWaiterWaitsWakesItWithBrokenPromise) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::latch start(2);
    std::thread dropper([&, promise = std::move(pair.promise)]() mutable {
      start.arrive_and_wait();
      promise.Reset();
    });
    start.arrive_and_wait();
    const bool ready = WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, true);
    dropper.join();
    ASSERT_TRUE(ready);
    ASSERT_EQ(CodeOf(pair.future.GetException()), test::kBrokenPromise);
  }
}

TEST(Race, CopiesOfThePromiseDroppedOnManyThreadsBreakTheStateOnce) {
  constexpr int kThreads = 4;
  for (int round = 0; round < kRounds / 5; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::atomic<int> runs{0};
    MakeContinuation(pair.future, [&](const Future<void>&) { ++runs; });
    std::barrier start(kThreads + 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, promise = pair.promise]() mutable {
        start.arrive_and_wait();
        promise.Reset();
      });
    }
    start.arrive_and_wait();
    pair.promise.Reset();
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(runs.load(), 1);
    ASSERT_EQ(CodeOf(pair.future.GetException()), test::kBrokenPromise);
  }
}

TEST(Race, ConcurrentResultsFirstOneWinsAndOnlyOneReportsIt) {
  constexpr int kThreads = 4;
  for (int round = 0; round < kRounds / 5; ++round) {
    auto pair = CreateFuturePromisePair<int>();
    std::atomic<int> winners{0};
    std::atomic<int> runs{0};
    MakeContinuation(pair.future, [&](const Future<int>&) { ++runs; });
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i, promise = pair.promise] {
        start.arrive_and_wait();
        const bool won = (i % 2 == 0) ? promise.SetValue(i)
                                      : promise.SetException(test::MakeKilnError(-i));
        if (won) ++winners;
      });
    }
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(winners.load(), 1);
    ASSERT_EQ(runs.load(), 1);
  }
}

TEST(Race, CancelFromWeakReferenceWhileOwnerDropsLastPromiseEndsStateOnce) {
  for (int round = 0; round < kRounds; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::weak_ptr<detail::FutureState<void>> entry = pair.promise.GetWeakState();
    std::atomic<int> runs{0};
    MakeContinuation(pair.future, [&](const Future<void>&) { ++runs; });
    std::latch start(2);
    std::thread owner([&, promise = std::move(pair.promise)]() mutable {
      start.arrive_and_wait();
      promise.Reset();
    });
    start.arrive_and_wait();
    Promise<void>(entry).SetException(test::MakeKilnError(test::kUserCancelled));
    owner.join();
    ASSERT_EQ(runs.load(), 1);
    const int32_t code = CodeOf(pair.future.GetException());
    ASSERT_TRUE(code == test::kBrokenPromise || code == test::kUserCancelled) << code;
  }
}

TEST(Race, ThrowingContinuationRacingWithAttachIsLoggedOnceAndOthersRun) {
  logging::ScopedLogCapture capture;
  for (int round = 0; round < kRounds / 5; ++round) {
    auto pair = CreateFuturePromisePair<void>();
    std::atomic<int> runs{0};
    MakeContinuation(pair.future, [&](const Future<void>&) { throw std::runtime_error("boom"); });
    std::latch start(2);
    std::thread setter([&] {
      start.arrive_and_wait();
      pair.promise.SetSuccess();
    });
    start.arrive_and_wait();
    MakeContinuation(pair.future, [&](const Future<void>&) { ++runs; });
    setter.join();
    ASSERT_EQ(runs.load(), 1);
  }
  EXPECT_EQ(capture.Count(), static_cast<std::size_t>(kRounds / 5));
}

}  // namespace
}  // namespace kilncore::async
