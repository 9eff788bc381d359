#include "AsyncTestSupport.h"

#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/async/UntypedFuture.h>

#include <gtest/gtest.h>

#include <chrono>
#include <latch>
#include <thread>

namespace kilncore::async {
namespace {

using std::chrono::steady_clock;
using test::CodeOf;

const auto kOneDay = std::chrono::nanoseconds(86400000000000);

TEST(WaitForUntypedUntil, ReturnsTrueAtOnceForAReadyState) {
  auto pair = CreateFuturePromisePair<void>();
  pair.promise.SetSuccess();
  EXPECT_TRUE(WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, true));
}

TEST(WaitForUntypedUntil, ReturnsFalseWhenTheDeadlinePasses) {
  auto pair = CreateFuturePromisePair<void>();
  const auto deadline = steady_clock::now() + std::chrono::milliseconds(20);
  EXPECT_FALSE(WaitForUntypedUntil(pair.future, deadline, true));
  EXPECT_GE(steady_clock::now(), deadline);
  EXPECT_FALSE(pair.future.IsReady());
}

TEST(WaitForUntypedUntil, DeadlineInThePastReturnsAtOnce) {
  auto pair = CreateFuturePromisePair<void>();
  EXPECT_FALSE(WaitForUntypedUntil(pair.future, steady_clock::now() - std::chrono::seconds(1), true));
}

TEST(WaitForUntypedUntil, EmptyFutureReturnsFalseAtOnce) {
  UntypedFuture empty;
  EXPECT_FALSE(WaitForUntypedUntil(empty, steady_clock::now() + kOneDay, true));
}

TEST(WaitForUntypedUntil, NonBlockingOnlyLooks) {
  auto pair = CreateFuturePromisePair<void>();
  EXPECT_FALSE(WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, false));
  pair.promise.SetSuccess();
  EXPECT_TRUE(WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, false));
}

TEST(WaitForUntypedUntil, WakesWhenAnotherThreadSetsTheResult) {
  auto pair = CreateFuturePromisePair<int>();
  std::latch waiting(1);
  std::thread setter([&] {
    waiting.wait();
    pair.promise.SetValue(9);
  });
  waiting.count_down();
  EXPECT_TRUE(WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, true));
  EXPECT_EQ(pair.future.Get(), 9);
  setter.join();
}

TEST(WaitForUntypedUntil, WaiterSeesTheExceptionSetByAnotherThread) {
  auto pair = CreateFuturePromisePair<void>();
  std::thread setter([promise = pair.promise] { promise.SetException(test::MakeKilnError(-3)); });
  EXPECT_TRUE(WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, true));
  EXPECT_EQ(CodeOf(pair.future.GetException()), -3);
  setter.join();
}

TEST(WaitForUntypedUntil, ResultSetSynchronouslyBeforeTheWaitEndsItAtOnce) {
  // A callback invoked before the client call returns: the wait finds the state
  // ready.
  auto pair = CreateFuturePromisePair<void>();
  auto callback = [promise = pair.promise] { promise.SetSuccess(); };
  callback();
  EXPECT_TRUE(WaitForUntypedUntil(pair.future, steady_clock::now() + kOneDay, true));
}

}  // namespace
}  // namespace kilncore::async
