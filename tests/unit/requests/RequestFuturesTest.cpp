#include "RequestTestSupport.h"

#include <TetherMedia/RequestFutures.h>

#include <kilncore/appstatemanager/AppState.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/Continuations.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/logging/ScopedLogCapture.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/LazySingleton.h>
#include <kilncore/utility/Seam.h>

#include <gtest/gtest.h>

#include <exception>
#include <set>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::appstatemanager::AdvanceAppState;
using kilncore::appstatemanager::kAppStateTerminating;
using kilncore::appstatemanager::kAppStateTerminationStarted;
using kilncore::async::FuturePromisePair;
using kilncore::logging::ScopedLogCapture;
using kilncore::utility::Guid;
using kilncore::utility::ScopedSeam;

const kilncore::WideString kPath = u"/Volumes/Media/Trailer.marl";
const Guid kSource("8B701830-D959-420F-AA9C-5392B2F1B17E");

using RequestFuturesTest = RequestTableTest;

TEST_F(RequestFuturesTest, RequestStaysPendingUntilItSucceeds) {
  ScopedLogCapture log;
  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);
  ASSERT_FALSE(pair.IsEmpty());
  EXPECT_FALSE(pair.future.IsReady());
  EXPECT_EQ(GetPendingRequestCountForTesting(), 1u);

  EXPECT_TRUE(pair.promise.SetSuccess());

  EXPECT_TRUE(pair.future.IsReady());
  EXPECT_EQ(OutcomeOf(pair.future), 0);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  EXPECT_EQ(log.Count(), 0u);
}

TEST_F(RequestFuturesTest, RequestEndingWithAnErrorIsLoggedOnceAndLeavesTheTable) {
  ScopedLogCapture log;
  FuturePromisePair<void> pair = CreateRequestFuture();
  pair.promise.SetException(
      std::make_exception_ptr(kilncore::config::kiln_exception("server gone", kGeneralFailure)));

  EXPECT_EQ(OutcomeOf(pair.future), kGeneralFailure);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  ASSERT_EQ(log.Count(), 1u);
  EXPECT_EQ(log.CountWithContext(kRequestLogContext), 1u);
  EXPECT_EQ(log.Records()[0].code, kGeneralFailure);
}

TEST_F(RequestFuturesTest, CancelRequestFailsTheRequestAsUserCanceledWithoutLogging) {
  ScopedLogCapture log;
  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);

  CancelRequest(kPath, kSource);

  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(OutcomeOf(pair.future), kUserCanceled);
  try {
    pair.future.Get();
    ADD_FAILURE() << "a cancelled request must not succeed";
  } catch (const kilncore::config::kiln_exception& exception) {
    EXPECT_STREQ(exception.what(), "User Canceled");
  }
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  EXPECT_EQ(log.Count(), 0u);
  // The owner's late answer changes nothing.
  EXPECT_FALSE(pair.promise.SetSuccess());
}

TEST_F(RequestFuturesTest, CancelRequestWithoutAMatchingRequestDoesNothing) {
  ScopedLogCapture log;
  FuturePromisePair<void> other = CreateRequestFuture(kPath, kSource);

  CancelRequest(kPath, Guid::CreateUnique());
  CancelRequest(u"/Volumes/Media/trailer.marl", kSource);

  EXPECT_FALSE(other.future.IsReady());
  EXPECT_EQ(GetPendingRequestCountForTesting(), 1u);
  EXPECT_EQ(log.Count(), 0u);
  other.promise.SetSuccess();
}

TEST_F(RequestFuturesTest, CancelRequestAfterTheRequestFinishedFindsNothing) {
  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);
  pair.promise.SetSuccess();

  CancelRequest(kPath, kSource);

  EXPECT_EQ(OutcomeOf(pair.future), 0);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(RequestFuturesTest, SameKeyCanBeUsedAgainOnceTheFirstRequestEnded) {
  FuturePromisePair<void> first = CreateRequestFuture(kPath, kSource);
  first.promise.SetSuccess();

  FuturePromisePair<void> second = CreateRequestFuture(kPath, kSource);
  ASSERT_FALSE(second.IsEmpty());
  CancelRequest(kPath, kSource);
  EXPECT_EQ(OutcomeOf(second.future), kUserCanceled);
}

TEST_F(RequestFuturesTest, DuplicateRequestIsRefusedAndEndsOnlyTheFirstOnesCancellability) {
  FuturePromisePair<void> first = CreateRequestFuture(kPath, kSource);
  ASSERT_FALSE(first.IsEmpty());

  ScopedLogCapture log;
  FuturePromisePair<void> second = CreateRequestFuture(kPath, kSource);

  EXPECT_TRUE(second.IsEmpty());
  // The refused request's broken promise was logged, and its removal took the
  // shared key out of the table.
  ASSERT_EQ(log.Count(), 1u);
  EXPECT_EQ(log.Records()[0].code, kBrokenPromise);
  EXPECT_EQ(log.Records()[0].context, kRequestLogContext);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);

  // The first request can no longer be cancelled, but goes on normally.
  CancelRequest(kPath, kSource);
  EXPECT_FALSE(first.future.IsReady());
  EXPECT_TRUE(first.promise.SetSuccess());
  EXPECT_EQ(OutcomeOf(first.future), 0);
  EXPECT_EQ(log.Count(), 1u);
}

TEST_F(RequestFuturesTest, RequestsWithoutIdentityNeverCollide) {
  std::vector<FuturePromisePair<void>> pairs;
  for (int index = 0; index < 200; ++index) {
    pairs.push_back(CreateRequestFuture());
    ASSERT_FALSE(pairs.back().IsEmpty());
  }
  EXPECT_EQ(GetPendingRequestCountForTesting(), 200u);
  for (auto& pair : pairs) pair.promise.SetSuccess();
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(RequestFuturesTest, DroppingThePromiseFailsAsBrokenPromiseAndLeavesTheTable) {
  ScopedLogCapture log;
  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);

  pair.promise.Reset();

  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(OutcomeOf(pair.future), kBrokenPromise);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  EXPECT_EQ(log.CountWithContext(kRequestLogContext), 1u);
}

TEST_F(RequestFuturesTest, DroppingTheFutureLeavesTheTableWithoutLogging) {
  ScopedLogCapture log;
  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);

  pair.future.Reset();

  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  EXPECT_FALSE(pair.promise.IsValid());
  EXPECT_FALSE(pair.promise.SetSuccess());
  EXPECT_EQ(log.Count(), 0u);
}

TEST_F(RequestFuturesTest, ContinuationsOfOthersRunAfterTheRequestLeftTheTable) {
  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);
  std::size_t pendingSeen = 99;
  auto chained = kilncore::async::MakeContinuation(
      pair.future, [&](const kilncore::async::Future<void>&) {
        pendingSeen = GetPendingRequestCountForTesting();
      });

  pair.promise.SetSuccess();

  EXPECT_EQ(pendingSeen, 0u);
}

TEST_F(RequestFuturesTest, AfterTerminationBeganNewRequestsHaveFailedAlready) {
  FuturePromisePair<void> open = CreateRequestFuture(kPath, kSource);
  AdvanceAppState(kAppStateTerminationStarted);

  ScopedLogCapture log;
  for (FuturePromisePair<void> late : {CreateRequestFuture(kPath, kSource), CreateRequestFuture()}) {
    ASSERT_FALSE(late.IsEmpty());
    ASSERT_TRUE(late.future.IsReady());
    EXPECT_EQ(OutcomeOf(late.future), kTerminationStarted);
    try {
      late.future.Get();
      ADD_FAILURE() << "a request made during termination must fail";
    } catch (const kilncore::config::kiln_exception& exception) {
      EXPECT_STREQ(exception.what(), "Program Termination Has Started");
    }
  }
  // Cancelling is silent now and leaves the open request alone.
  CancelRequest(kPath, kSource);
  EXPECT_FALSE(open.future.IsReady());
  EXPECT_EQ(GetPendingRequestCountForTesting(), 1u);
  EXPECT_EQ(log.Count(), 0u);

  AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(OutcomeOf(open.future), kTerminationStarted);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(RequestFuturesTest, TerminationFailsEveryOpenRequestAndLogsOnlyThose) {
  std::vector<FuturePromisePair<void>> open;
  open.push_back(CreateRequestFuture(kPath, kSource));
  open.push_back(CreateRequestFuture());
  open.push_back(CreateRequestFuture(u"/other.marl", kSource));
  FuturePromisePair<void> cancelled = CreateRequestFuture(u"/cancelled.marl", kSource);
  FuturePromisePair<void> dropped = CreateRequestFuture();
  FuturePromisePair<void> answered = CreateRequestFuture();
  ASSERT_EQ(GetPendingRequestCountForTesting(), 6u);

  ScopedLogCapture log;
  CancelRequest(u"/cancelled.marl", kSource);
  dropped.future.Reset();
  answered.promise.SetSuccess();
  EXPECT_EQ(log.Count(), 0u);

  AdvanceAppState(kAppStateTerminating);

  for (const auto& pair : open) {
    ASSERT_TRUE(pair.future.IsReady());
    EXPECT_EQ(OutcomeOf(pair.future), kTerminationStarted);
  }
  EXPECT_EQ(OutcomeOf(cancelled.future), kUserCanceled);
  EXPECT_EQ(OutcomeOf(answered.future), 0);
  const auto records = log.Records();
  EXPECT_EQ(records.size(), open.size());
  EXPECT_EQ(CountCode(records, kTerminationStarted), open.size());
  EXPECT_EQ(log.CountWithContext(kRequestLogContext), open.size());
  EXPECT_EQ(CountCode(records, kUserCanceled), 0u);
  EXPECT_EQ(CountCode(records, kFutureIsCancelled), 0u);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);

  // A request still open after the table is gone is no longer the table's.
  for (auto& pair : open) EXPECT_FALSE(pair.promise.SetSuccess());
}

TEST_F(RequestFuturesTest, TerminationBeforeFirstUseNeverMakesTheTable) {
  AdvanceAppState(kAppStateTerminating);

  FuturePromisePair<void> pair = CreateRequestFuture(kPath, kSource);
  CancelRequest(kPath, kSource);

  EXPECT_EQ(OutcomeOf(pair.future), kTerminationStarted);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(RequestFuturesTest, DuringTerminationTwoRequestsWithOneKeyAreBothHandedOut) {
  // During termination every request fails on its own, so two requests with one
  // key are both handed out rather than one refused.
  AdvanceAppState(kAppStateTerminationStarted);
  FuturePromisePair<void> first = CreateRequestFuture(kPath, kSource);
  FuturePromisePair<void> second = CreateRequestFuture(kPath, kSource);
  EXPECT_FALSE(first.IsEmpty());
  EXPECT_FALSE(second.IsEmpty());
}

TEST_F(RequestFuturesTest, TableIsTiedToStateFiveOnceAtItsFirstUse) {
  ScopedSeam destroy(kilncore::utility::detail::DestroyOnAppStateSeam());
  FuturePromisePair<void> first = CreateRequestFuture(kPath, kSource);
  FuturePromisePair<void> second = CreateRequestFuture();
  CancelRequest(kPath, kSource);
  second.promise.SetSuccess();
  ASSERT_EQ(destroy.Calls().size(), 1u);
  EXPECT_EQ(std::get<0>(destroy.Calls()[0]), kAppStateTerminating);
}

TEST_F(RequestFuturesTest, StateFiveEndsTheTableEvenWhileTerminationIsNotAnnounced) {
  // A host may reach the state that destroys singletons without having said
  // that termination began: the table still fails what is open, and from then
  // on every request has failed already.
  ScopedSeam notTerminating(kilncore::appstatemanager::WillTerminateSeam(), [] { return false; });
  FuturePromisePair<void> open = CreateRequestFuture(kPath, kSource);
  FuturePromisePair<void> anonymous = CreateRequestFuture();
  ASSERT_EQ(GetPendingRequestCountForTesting(), 2u);

  ScopedLogCapture log;
  AdvanceAppState(kAppStateTerminating);
  EXPECT_FALSE(kilncore::appstatemanager::WillTerminate());
  EXPECT_EQ(OutcomeOf(open.future), kTerminationStarted);
  EXPECT_EQ(OutcomeOf(anonymous.future), kTerminationStarted);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);

  FuturePromisePair<void> late = CreateRequestFuture(kPath, kSource);
  ASSERT_FALSE(late.IsEmpty());
  EXPECT_TRUE(late.future.IsReady());
  EXPECT_EQ(OutcomeOf(late.future), kTerminationStarted);
  FuturePromisePair<void> again = CreateRequestFuture(kPath, kSource);
  EXPECT_FALSE(again.IsEmpty());
  CancelRequest(kPath, kSource);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  EXPECT_EQ(log.CountWithContext(kRequestLogContext), 2u);
}

}  // namespace
}  // namespace TetherMedia::testing
