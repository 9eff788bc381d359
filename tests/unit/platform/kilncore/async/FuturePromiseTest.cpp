#include "AsyncTestSupport.h"

#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/async/InlineExecutor.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kilncore::async {
namespace {

using test::CodeOf;

TEST(FuturePromisePair, NewPairHasOneFutureOneCountedPromiseAndIsNotReady) {
  auto pair = CreateFuturePromisePair<void>();
  ASSERT_TRUE(pair.future.IsValid());
  ASSERT_TRUE(pair.promise.IsValid());
  EXPECT_FALSE(pair.IsEmpty());
  EXPECT_EQ(pair.future.GetState()->GetPromiseCount(), 1u);
  EXPECT_FALSE(pair.future.IsReady());
  EXPECT_FALSE(pair.promise.IsReady());
  EXPECT_EQ(pair.future.GetException(), nullptr);
}

TEST(FuturePromisePair, DefaultPairIsEmptyWithBothMembersNull) {
  FuturePromisePair<void> pair;
  EXPECT_TRUE(pair.IsEmpty());
  EXPECT_FALSE(pair.future);
  EXPECT_FALSE(pair.promise);
}

TEST(FuturePromisePair, EmptyExecutorMeansDefaultExecutor) {
  auto pair = CreateFuturePromisePair<void>();
  EXPECT_EQ(pair.future.GetState()->GetExecutor(), GetDefaultExecutor());
  EXPECT_NE(dynamic_cast<InlineExecutor*>(GetDefaultExecutor().get()), nullptr);
}

TEST(FuturePromisePair, GivenExecutorIsCarriedByTheState) {
  auto executor = std::make_shared<test::QueueExecutor>();
  auto pair = CreateFuturePromisePair<int>(executor);
  EXPECT_EQ(pair.future.GetState()->GetExecutor(), executor);
}

TEST(Future, GetBeforeReadyThrowsFutureNotReady) {
  auto pair = CreateFuturePromisePair<int>();
  EXPECT_THROW(pair.future.Get(), FutureNotReadyException);
}

TEST(Future, GetOnEmptyFutureThrowsFutureIsCancelled) {
  Future<void> empty;
  EXPECT_FALSE(empty.IsReady());
  EXPECT_EQ(empty.GetException(), nullptr);
  EXPECT_THROW(empty.Get(), FutureIsCancelledException);
}

TEST(Future, SuccessMakesReadyAndGetReturnsValue) {
  auto pair = CreateFuturePromisePair<std::string>();
  EXPECT_TRUE(pair.promise.SetValue("answer"));
  EXPECT_TRUE(pair.future.IsReady());
  EXPECT_TRUE(pair.promise.IsReady());
  EXPECT_EQ(pair.future.Get(), "answer");
  EXPECT_EQ(pair.future.GetException(), nullptr);
}

TEST(Future, VoidSuccessMakesReady) {
  auto pair = CreateFuturePromisePair<void>();
  EXPECT_TRUE(pair.promise.SetSuccess());
  EXPECT_TRUE(pair.future.IsReady());
  EXPECT_NO_THROW(pair.future.Get());
}

TEST(Future, GetRethrowsStoredException) {
  auto pair = CreateFuturePromisePair<int>();
  pair.promise.SetException(test::MakeKilnError(test::kUserCancelled));
  EXPECT_TRUE(pair.future.IsReady());
  EXPECT_EQ(CodeOf(pair.future.GetException()), test::kUserCancelled);
  try {
    pair.future.Get();
    FAIL() << "Get should rethrow";
  } catch (const config::kiln_exception& e) {
    EXPECT_EQ(e.GetCode(), test::kUserCancelled);
  }
}

TEST(Future, FutureCanBeUsedAsUntypedFuture) {
  auto pair = CreateFuturePromisePair<int>();
  const UntypedFuture& untyped = pair.future;
  EXPECT_FALSE(untyped.IsReady());
  pair.promise.SetValue(3);
  EXPECT_TRUE(untyped.IsReady());
  EXPECT_EQ(untyped.GetUntypedState(), pair.future.GetState());
}

TEST(Promise, FirstResultWinsAndLaterOnesHaveNoEffect) {
  auto pair = CreateFuturePromisePair<int>();
  EXPECT_TRUE(pair.promise.SetValue(1));
  EXPECT_FALSE(pair.promise.SetValue(2));
  EXPECT_FALSE(pair.promise.SetException(test::MakeKilnError(test::kUserCancelled)));
  EXPECT_EQ(pair.future.Get(), 1);
}

TEST(Promise, ExceptionSetFirstStaysAfterLaterSuccess) {
  auto pair = CreateFuturePromisePair<void>();
  EXPECT_TRUE(pair.promise.SetException(test::MakeKilnError(test::kUserCancelled)));
  EXPECT_FALSE(pair.promise.SetSuccess());
  EXPECT_EQ(CodeOf(pair.future.GetException()), test::kUserCancelled);
}

TEST(Promise, GetExceptionGivesTheStatesException) {
  auto pair = CreateFuturePromisePair<void>();
  EXPECT_EQ(pair.promise.GetException(), nullptr);
  pair.promise.SetException(test::MakeKilnError(-5));
  EXPECT_EQ(CodeOf(pair.promise.GetException()), -5);
}

TEST(Promise, OperationsAreSilentOnceTheStateIsGone) {
  auto pair = CreateFuturePromisePair<int>();
  pair.future.Reset();
  EXPECT_FALSE(pair.promise.IsValid());
  EXPECT_FALSE(pair.promise.SetValue(1));
  EXPECT_FALSE(pair.promise.SetException(test::MakeKilnError(-1)));
  EXPECT_FALSE(pair.promise.IsReady());
  EXPECT_EQ(pair.promise.GetException(), nullptr);
}

TEST(Promise, PromiseDoesNotKeepTheStateAlive) {
  auto pair = CreateFuturePromisePair<void>();
  std::weak_ptr<detail::FutureState<void>> weak = pair.future.GetState();
  pair.future.Reset();
  EXPECT_TRUE(weak.expired());
}

TEST(Promise, CopyingAPromiseAddsAPromiseCount) {
  auto pair = CreateFuturePromisePair<void>();
  {
    Promise<void> copy = pair.promise;
    EXPECT_EQ(pair.future.GetState()->GetPromiseCount(), 2u);
  }
  EXPECT_EQ(pair.future.GetState()->GetPromiseCount(), 1u);
}

TEST(Promise, MovingAPromiseKeepsTheCount) {
  auto pair = CreateFuturePromisePair<void>();
  Promise<void> moved = std::move(pair.promise);
  EXPECT_EQ(pair.future.GetState()->GetPromiseCount(), 1u);
  EXPECT_FALSE(pair.future.IsReady());
  EXPECT_TRUE(moved.SetSuccess());
}

TEST(Promise, PromiseMadeFromWeakStateCountsAndCompletes) {
  auto pair = CreateFuturePromisePair<void>();
  std::weak_ptr<detail::FutureState<void>> weak = pair.promise.GetWeakState();
  Promise<void> fromTable(weak);
  EXPECT_EQ(pair.future.GetState()->GetPromiseCount(), 2u);
  EXPECT_TRUE(fromTable.SetException(test::MakeKilnError(test::kUserCancelled)));
  EXPECT_EQ(CodeOf(pair.future.GetException()), test::kUserCancelled);
}

TEST(Promise, PromiseMadeFromExpiredStateIsInertAndUncounted) {
  std::weak_ptr<detail::FutureState<void>> weak;
  {
    auto pair = CreateFuturePromisePair<void>();
    weak = pair.future.GetState();
  }
  Promise<void> late(weak);
  EXPECT_FALSE(late.IsValid());
  EXPECT_FALSE(late.SetSuccess());
}

TEST(BrokenPromise, DroppingTheLastPromiseFailsTheStateWithBrokenPromise) {
  auto pair = CreateFuturePromisePair<void>();
  pair.promise.Reset();
  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(CodeOf(pair.future.GetException()), test::kBrokenPromise);
  EXPECT_THROW(pair.future.Get(), BrokenPromiseException);
}

TEST(BrokenPromise, DroppingOneOfTwoPromisesLeavesTheStatePending) {
  auto pair = CreateFuturePromisePair<void>();
  Promise<void> second = pair.promise;
  pair.promise.Reset();
  EXPECT_FALSE(pair.future.IsReady());
  second.Reset();
  EXPECT_EQ(CodeOf(pair.future.GetException()), test::kBrokenPromise);
}

TEST(BrokenPromise, DroppingTheLastPromiseAfterAResultChangesNothing) {
  auto pair = CreateFuturePromisePair<int>();
  pair.promise.SetValue(7);
  pair.promise.Reset();
  EXPECT_EQ(pair.future.Get(), 7);
}

TEST(BrokenPromise, AssigningOverTheLastPromiseBreaksTheOldState) {
  auto first = CreateFuturePromisePair<void>();
  auto second = CreateFuturePromisePair<void>();
  first.promise = second.promise;
  EXPECT_EQ(CodeOf(first.future.GetException()), test::kBrokenPromise);
  EXPECT_EQ(second.future.GetState()->GetPromiseCount(), 2u);
}

}  // namespace
}  // namespace kilncore::async
