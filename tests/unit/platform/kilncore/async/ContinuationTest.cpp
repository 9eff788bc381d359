#include "AsyncTestSupport.h"

#include <kilncore/async/Continuations.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/async/detail/ContinuationCaller.h>
#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace kilncore::async {
namespace {

using test::CodeOf;

TEST(Continuation, RunsWhenResultIsSetOnTheSettingThreadInAttachmentOrder) {
  auto pair = CreateFuturePromisePair<void>();
  std::vector<int> order;
  std::vector<std::thread::id> threads;
  for (int i = 0; i < 3; ++i) {
    MakeContinuation(pair.future, [&, i](const Future<void>&) {
      order.push_back(i);
      threads.push_back(std::this_thread::get_id());
    });
  }
  EXPECT_TRUE(order.empty());

  std::thread setter([&] { pair.promise.SetSuccess(); });
  const std::thread::id setterId = setter.get_id();
  setter.join();

  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
  for (const auto& id : threads) EXPECT_EQ(id, setterId);
}

TEST(Continuation, RunsAfterTheStatesMutexIsReleasedAndSeesItReady) {
  auto pair = CreateFuturePromisePair<void>();
  bool sawReady = false;
  bool nestedRan = false;
  MakeContinuation(pair.future, [&](const Future<void>& outcome) {
    sawReady = outcome.IsReady();
    // Taking the state's mutex again, here by attaching, would deadlock if it
    // were still held.
    MakeContinuation(outcome, [&](const Future<void>&) { nestedRan = true; });
  });
  pair.promise.SetSuccess();
  EXPECT_TRUE(sawReady);
  EXPECT_TRUE(nestedRan);
}

TEST(Continuation, AttachingToReadyStateRunsAtOnceOnAttachingThread) {
  auto pair = CreateFuturePromisePair<int>();
  pair.promise.SetValue(5);
  int seen = 0;
  std::thread::id ranOn;
  MakeContinuation(pair.future, [&](const Future<int>& outcome) {
    seen = outcome.Get();
    ranOn = std::this_thread::get_id();
  });
  EXPECT_EQ(seen, 5);
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(Continuation, ChainedFutureGetsTheContinuationsResult) {
  auto pair = CreateFuturePromisePair<int>();
  Future<std::string> chained =
      MakeContinuation(pair.future, [](const Future<int>& f) { return std::to_string(f.Get() * 2); });
  EXPECT_FALSE(chained.IsReady());
  pair.promise.SetValue(21);
  EXPECT_EQ(chained.Get(), "42");
}

TEST(Continuation, SeesTheExceptionTheStateEndedWith) {
  auto pair = CreateFuturePromisePair<void>();
  int32_t seen = 0;
  MakeContinuation(pair.future, [&](const Future<void>& f) { seen = CodeOf(f.GetException()); });
  pair.promise.SetException(test::MakeKilnError(test::kUserCancelled));
  EXPECT_EQ(seen, test::kUserCancelled);
}

TEST(Continuation, RunsWithBrokenPromiseWhenTheLastPromiseIsDropped) {
  auto pair = CreateFuturePromisePair<void>();
  int32_t seen = 0;
  MakeContinuation(pair.future, [&](const Future<void>& f) { seen = CodeOf(f.GetException()); });
  pair.promise.Reset();
  EXPECT_EQ(seen, test::kBrokenPromise);
}

TEST(Continuation, DestroyedStateRunsContinuationsWhichSeeFutureIsCancelled) {
  auto pair = CreateFuturePromisePair<void>();
  std::vector<int32_t> seen;
  for (int i = 0; i < 2; ++i) {
    MakeContinuation(pair.future, [&](const Future<void>& f) {
      EXPECT_TRUE(f.IsReady());
      seen.push_back(CodeOf(f.GetException()));
    });  // chained future dropped at once
  }
  EXPECT_TRUE(seen.empty());
  pair.future.Reset();
  EXPECT_EQ(seen, (std::vector<int32_t>{test::kCancelled, test::kCancelled}));
  // The promise outlives the state and finds nothing to complete.
  EXPECT_FALSE(pair.promise.SetSuccess());
  EXPECT_EQ(seen.size(), 2u);
}

TEST(Continuation, RunsExactlyOnceWhateverHappensAfterwards) {
  auto pair = CreateFuturePromisePair<void>();
  int runs = 0;
  MakeContinuation(pair.future, [&](const Future<void>&) { ++runs; });
  pair.promise.SetSuccess();
  pair.promise.SetException(test::MakeKilnError(-1));
  pair.promise.Reset();
  pair.future.Reset();
  EXPECT_EQ(runs, 1);
}

TEST(Continuation, EmptyFutureRunsContinuationAtOnceAsCancelled) {
  Future<void> empty;
  int32_t seen = 0;
  Future<void> chained = MakeContinuation(empty, [&](const Future<void>& f) { seen = CodeOf(f.GetException()); });
  EXPECT_EQ(seen, test::kCancelled);
  EXPECT_TRUE(chained.IsReady());
}

TEST(Continuation, ContinuationHoldsNoStrongReferenceToTheFollowedState) {
  auto pair = CreateFuturePromisePair<void>();
  std::weak_ptr<detail::FutureState<void>> weak = pair.future.GetState();
  MakeContinuation(pair.future, [](const Future<void>&) {});
  pair.future.Reset();
  EXPECT_TRUE(weak.expired());
}

TEST(KeepAlive, ChainedFutureKeepsTheFollowedStateAliveAsLongAsItLives) {
  auto pair = CreateFuturePromisePair<void>();
  std::weak_ptr<detail::FutureState<void>> weak = pair.future.GetState();
  int32_t seen = 0;
  Future<void> chained =
      MakeContinuation(pair.future, [&](const Future<void>& f) { seen = CodeOf(f.GetException()); });
  pair.future.Reset();
  EXPECT_FALSE(weak.expired());
  EXPECT_EQ(seen, 0);

  // Still completable through the promise while the chained future lives.
  pair.promise.SetException(test::MakeKilnError(test::kUserCancelled));
  EXPECT_EQ(seen, test::kUserCancelled);

  chained.Reset();
  EXPECT_TRUE(weak.expired());
}

TEST(KeepAlive, DroppingTheChainedFutureReleasesTheFollowedStateWhichThenCancels) {
  auto pair = CreateFuturePromisePair<void>();
  int32_t seen = 0;
  Future<void> chained =
      MakeContinuation(pair.future, [&](const Future<void>& f) { seen = CodeOf(f.GetException()); });
  pair.future.Reset();
  chained.Reset();
  EXPECT_EQ(seen, test::kCancelled);
}

TEST(KeepAlive, KeptStateIsReleasedWithTheKeeper) {
  auto kept = CreateFuturePromisePair<void>();
  std::weak_ptr<detail::FutureState<void>> weak = kept.future.GetState();
  auto keeper = CreateFuturePromisePair<void>();
  keeper.future.GetState()->KeepAlive(kept.future.GetState());
  kept.future.Reset();
  EXPECT_FALSE(weak.expired());
  keeper.future.Reset();
  EXPECT_TRUE(weak.expired());
}

TEST(ContinuationException, EscapingExceptionIsLoggedWithContextAndOthersStillRun) {
  logging::ScopedLogCapture capture;
  auto pair = CreateFuturePromisePair<void>();
  std::vector<int> ran;
  MakeContinuation(pair.future, [&](const Future<void>&) { ran.push_back(0); });
  Future<void> throwing = MakeContinuation(pair.future, [&](const Future<void>&) {
    ran.push_back(1);
    throw std::runtime_error("continuation failed");
  });
  MakeContinuation(pair.future, [&](const Future<void>&) { ran.push_back(2); });

  EXPECT_NO_THROW(pair.promise.SetSuccess());

  EXPECT_EQ(ran, (std::vector<int>{0, 1, 2}));
  ASSERT_EQ(capture.Count(), 1u);
  const auto record = capture.Records().front();
  EXPECT_EQ(record.context, "kilncore::async::detail::ContinuationCaller::CallFutureContinuation");
  EXPECT_EQ(record.context, detail::ContinuationCaller::kLogContext);
  EXPECT_EQ(record.message, "continuation failed");
  // The followed state is untouched; the chained one was never answered.
  EXPECT_EQ(pair.future.GetException(), nullptr);
  EXPECT_EQ(CodeOf(throwing.GetException()), test::kBrokenPromise);
}

TEST(ContinuationException, ExceptionFromContinuationOnReadyStateStopsAtTheCaller) {
  logging::ScopedLogCapture capture;
  auto pair = CreateFuturePromisePair<void>();
  pair.promise.SetSuccess();
  EXPECT_NO_THROW(MakeContinuation(pair.future, [](const Future<void>&) { throw 1; }));
  EXPECT_EQ(capture.CountWithContext(detail::ContinuationCaller::kLogContext), 1u);
}

TEST(ContinuationException, ExceptionFromContinuationRunByDestructorStopsThere) {
  logging::ScopedLogCapture capture;
  auto pair = CreateFuturePromisePair<void>();
  MakeContinuation(pair.future, [](const Future<void>&) { throw std::logic_error("late"); });
  EXPECT_NO_THROW(pair.future.Reset());
  EXPECT_EQ(capture.CountWithContext(detail::ContinuationCaller::kLogContext), 1u);
}

TEST(ExceptionHandler, RunsOnlyWhenTheStateHoldsAnException) {
  auto succeeded = CreateFuturePromisePair<void>();
  auto failed = CreateFuturePromisePair<void>();
  int successCalls = 0;
  int32_t failedCode = 0;
  SetUpOnExceptionHandler(succeeded.future, [&](const std::exception_ptr&) { ++successCalls; });
  SetUpOnExceptionHandler(failed.future,
                          [&](const std::exception_ptr& e) { failedCode = CodeOf(e); });
  succeeded.promise.SetSuccess();
  failed.promise.SetException(test::MakeKilnError(test::kUserCancelled));
  EXPECT_EQ(successCalls, 0);
  EXPECT_EQ(failedCode, test::kUserCancelled);
}

TEST(ExceptionHandler, SeesFutureIsCancelledWhenTheStateIsDestroyed) {
  auto pair = CreateFuturePromisePair<void>();
  int32_t seen = 0;
  SetUpOnExceptionHandler(pair.future, [&](const std::exception_ptr& e) { seen = CodeOf(e); });
  pair.future.Reset();
  EXPECT_EQ(seen, test::kCancelled);
}

TEST(ExceptionHandler, ChainedFutureEndsAsTheFollowedStateDid) {
  auto ok = CreateFuturePromisePair<int>();
  auto bad = CreateFuturePromisePair<int>();
  Future<void> okChained = SetUpOnExceptionHandler(ok.future, [](const std::exception_ptr&) {});
  Future<void> badChained = SetUpOnExceptionHandler(bad.future, [](const std::exception_ptr&) {});
  ok.promise.SetValue(1);
  bad.promise.SetException(test::MakeKilnError(-9));
  EXPECT_TRUE(okChained.IsReady());
  EXPECT_EQ(okChained.GetException(), nullptr);
  EXPECT_EQ(CodeOf(badChained.GetException()), -9);
}

TEST(FailureHandler, RunsOnlyForNegativeResultCodes) {
  std::vector<int32_t> calls;
  auto handler = [&](int32_t result) { calls.push_back(result); };

  auto success = CreateFuturePromisePair<void>();
  auto nonNegative = CreateFuturePromisePair<void>();
  auto negative = CreateFuturePromisePair<void>();
  auto foreign = CreateFuturePromisePair<void>();
  SetUpOnFailureHandler(success.future, handler);
  SetUpOnFailureHandler(nonNegative.future, handler);
  SetUpOnFailureHandler(negative.future, handler);
  SetUpOnFailureHandler(foreign.future, handler);

  success.promise.SetSuccess();
  nonNegative.promise.SetException(test::MakeKilnError(0));
  negative.promise.SetException(test::MakeKilnError(test::kUserCancelled));
  foreign.promise.SetException(std::make_exception_ptr(std::runtime_error("not ours")));

  EXPECT_EQ(calls, (std::vector<int32_t>{test::kUserCancelled, config::kGeneralFailure}));
}

TEST(FailureHandler, AcceptsAHandlerThatAlsoTakesTheException) {
  auto pair = CreateFuturePromisePair<void>();
  std::exception_ptr seen;
  SetUpOnFailureHandler(pair.future, [&](int32_t, const std::exception_ptr& e) { seen = e; });
  pair.promise.Reset();
  EXPECT_EQ(CodeOf(seen), test::kBrokenPromise);
}

TEST(Executor, ContinuationsAreHandedToTheStatesExecutorInOrder) {
  auto executor = std::make_shared<test::QueueExecutor>();
  auto pair = CreateFuturePromisePair<int>(executor);
  std::vector<int> order;
  Future<void> first = MakeContinuation(pair.future, [&](const Future<int>& f) { order.push_back(f.Get()); });
  Future<void> second =
      MakeContinuation(pair.future, [&](const Future<int>& f) { order.push_back(f.Get() + 1); });
  EXPECT_EQ(first.GetState()->GetExecutor(), executor);  // chained states inherit it

  pair.promise.SetValue(10);
  EXPECT_EQ(executor->Pending(), 2u);
  EXPECT_TRUE(order.empty());

  // The queued tasks keep the state alive until they run.
  std::weak_ptr<detail::FutureState<int>> weak = pair.future.GetState();
  pair.future.Reset();
  first.Reset();
  second.Reset();
  EXPECT_FALSE(weak.expired());
  executor->RunAll();
  EXPECT_EQ(order, (std::vector<int>{10, 11}));
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace kilncore::async
