#include "MediaInfoTestSupport.h"

#include <requests/ServerWait.h>

#include <TetherMedia/RequestFutures.h>

#include <kilncore/appstatemanager/AppState.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/config/KilnException.h>

#include <gtest/gtest.h>

#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace TetherMedia::testing {
namespace {

using kilncore::async::FuturePromisePair;
using kilncore::async::Promise;
using kilncore::utility::Guid;

const kilncore::WideString kPath = u"/Volumes/Show/Opening.marlp";
const Guid kSourceID("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
const Guid kRuntime("DEADBEEF-0000-1111-2222-333344445555");

int32_t CodeOf(const kilncore::async::UntypedFuture& future) {
  return kilncore::config::ExtractResultFromException(future.GetException());
}

std::string TextOf(const kilncore::async::UntypedFuture& future) {
  try {
    std::rethrow_exception(future.GetException());
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

// Every test runs in a running application; the request table is process-wide.
class WaitingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kilncore::appstatemanager::ResetAppStateForTesting();
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  }
  void TearDown() override { kilncore::appstatemanager::ResetAppStateForTesting(); }

  // An item whose opening request is `pair`.
  std::shared_ptr<TestMediaInfo> ItemWithRequest(FuturePromisePair<void>& pair) {
    auto item = std::make_shared<TestMediaInfo>();
    item->SetRequestPromise(pair.promise);
    pair.promise.Reset();
    return item;
  }
};

// ---- Fulfill and TryCancelRequest

TEST_F(WaitingTest, FulfillWithZeroOrPositiveResultSucceeds) {
  for (int result : {0, 1, 42}) {
    auto pair = CreateRequestFuture();
    auto item = ItemWithRequest(pair);
    item->Fulfill(result);
    ASSERT_TRUE(pair.future.IsReady());
    EXPECT_EQ(CodeOf(pair.future), 0) << result;
  }
}

TEST_F(WaitingTest, FulfillWithNegativeResultFailsWithThatCode) {
  auto pair = CreateRequestFuture();
  auto item = ItemWithRequest(pair);
  item->Fulfill(static_cast<int>(0xA00F0003u));
  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(CodeOf(pair.future), static_cast<int32_t>(0xA00F0003u));
  EXPECT_EQ(TextOf(pair.future), "Tether Request failed with error");
}

TEST_F(WaitingTest, FulfillWithAnyFailingStatusGivesTheGeneralFailure) {
  for (int status : {1, 2, 3, 4, 77, -1}) {
    auto pair = CreateRequestFuture();
    auto item = ItemWithRequest(pair);
    item->Fulfill(static_cast<tether::ConnectionStatus>(status));
    ASSERT_TRUE(pair.future.IsReady());
    EXPECT_EQ(CodeOf(pair.future), kGeneralFailure) << status;
    EXPECT_EQ(TextOf(pair.future), "Tether Request failed with error");
  }
}

TEST_F(WaitingTest, FulfillWithStatusZeroSucceeds) {
  auto pair = CreateRequestFuture();
  auto item = ItemWithRequest(pair);
  item->Fulfill(tether::kConnectionStatusOK);
  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(CodeOf(pair.future), 0);
}

TEST_F(WaitingTest, SecondFulfillHasNoEffect) {
  auto pair = CreateRequestFuture();
  auto item = ItemWithRequest(pair);
  item->Fulfill(-5);
  item->Fulfill(0);
  EXPECT_EQ(CodeOf(pair.future), -5);
}

TEST_F(WaitingTest, FulfillAfterCancelRequestLeavesTheRequestCancelled) {
  auto pair = CreateRequestFuture(kPath, kSourceID);
  auto item = ItemWithRequest(pair);
  CancelRequest(kPath, kSourceID);
  item->Fulfill(0);
  item->Fulfill(tether::kConnectionStatusOK);
  EXPECT_EQ(CodeOf(pair.future), kUserCanceled);
}

TEST_F(WaitingTest, TryCancelRequestEndsTheRequestAsUserCanceled) {
  auto pair = CreateRequestFuture(kPath, kSourceID);
  auto item = ItemWithRequest(pair);
  item->TryCancelRequest();
  EXPECT_EQ(CodeOf(pair.future), kUserCanceled);
  EXPECT_EQ(TextOf(pair.future), "User Canceled");
}

TEST_F(WaitingTest, FulfillWithoutRequestDoesNothing) {
  TestMediaInfo item;
  EXPECT_NO_THROW(item.Fulfill(0));
  EXPECT_NO_THROW(item.Fulfill(-1));
  EXPECT_NO_THROW(item.TryCancelRequest());
}

// ---- The callbacks

TEST_F(WaitingTest, DependanceCheckStoresTheAnswerOrKeepsTheSlot) {
  auto pair = CreateRequestFuture();
  auto result = std::make_shared<bool>(false);
  TestMediaInfo::WaitForDependanceCheck(pair.promise, tether::kConnectionStatusOK, true, result);
  EXPECT_TRUE(*result);
  EXPECT_EQ(CodeOf(pair.future), 0);

  auto failing = CreateRequestFuture();
  auto kept = std::make_shared<bool>(true);
  TestMediaInfo::WaitForDependanceCheck(failing.promise, tether::kConnectionStatusFailed, false, kept);
  EXPECT_TRUE(*kept);
  EXPECT_EQ(CodeOf(failing.future), kGeneralFailure);
  EXPECT_EQ(TextOf(failing.future), "WaitForDependanceCheck failed");
}

TEST_F(WaitingTest, RuntimeFontUpdateStoresTheAnswerOrKeepsTheSlot) {
  auto pair = CreateRequestFuture();
  auto result = std::make_shared<unsigned int>(1);
  TestMediaInfo::WaitForRuntimeFontUpdate(pair.promise, tether::kConnectionStatusOK, 7, result);
  EXPECT_EQ(*result, 7u);
  EXPECT_EQ(CodeOf(pair.future), 0);

  auto failing = CreateRequestFuture();
  auto kept = std::make_shared<unsigned int>(3);
  TestMediaInfo::WaitForRuntimeFontUpdate(failing.promise, tether::kConnectionStatusFailed, 9, kept);
  EXPECT_EQ(*kept, 3u);
  EXPECT_EQ(CodeOf(failing.future), kGeneralFailure);
  EXPECT_EQ(TextOf(failing.future), "WaitForRuntimeFontUpdate failed");
}

TEST_F(WaitingTest, RuntimeGuidFailureLeavesTheNilGuidInTheSlot) {
  auto pair = CreateRequestFuture();
  auto result = std::make_shared<Guid>();
  TestMediaInfo::WaitForRuntimeGuid(pair.promise, tether::kConnectionStatusOK, kRuntime, result);
  EXPECT_EQ(*result, kRuntime);
  EXPECT_EQ(CodeOf(pair.future), 0);

  auto failing = CreateRequestFuture();
  auto slot = std::make_shared<Guid>(kRuntime);
  TestMediaInfo::WaitForRuntimeGuid(failing.promise, tether::kConnectionStatusFailed, kRuntime, slot);
  EXPECT_TRUE(slot->IsNil());
  EXPECT_EQ(CodeOf(failing.future), kGeneralFailure);
  EXPECT_EQ(TextOf(failing.future), "WaitForRuntimeGuid failed");
}

TEST_F(WaitingTest, XMPPacketIsKeptAsItsBytes) {
  auto pair = CreateRequestFuture();
  auto data = std::make_shared<RL::BinaryData>();
  auto code = std::make_shared<int>(-1);
  const std::string packet("<x:xmpmeta>\0</x:xmpmeta>", 24);
  TestMediaInfo::WaitForXMP(pair.promise, tether::kConnectionStatusOK, packet, data, code);
  EXPECT_EQ(*data, RL::BinaryData::FromString(packet));
  EXPECT_EQ(*code, 0);
  EXPECT_EQ(CodeOf(pair.future), 0);
}

TEST_F(WaitingTest, EmptyXMPIsNoFailure) {
  auto pair = CreateRequestFuture();
  auto data = std::make_shared<RL::BinaryData>(RL::BinaryData::FromString("old"));
  auto code = std::make_shared<int>(-1);
  TestMediaInfo::WaitForXMP(pair.promise, tether::kConnectionStatusOK, "", data, code);
  EXPECT_TRUE(data->IsEmpty());
  EXPECT_EQ(*code, 0);
  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(CodeOf(pair.future), 0);
}

TEST_F(WaitingTest, FailedXMPEmptiesTheDataAndFailsWithTheGeneralFailure) {
  auto pair = CreateRequestFuture();
  auto data = std::make_shared<RL::BinaryData>(RL::BinaryData::FromString("old"));
  auto code = std::make_shared<int>(0);
  TestMediaInfo::WaitForXMP(pair.promise, tether::kConnectionStatusServerUnavailable, "packet", data,
                            code);
  EXPECT_TRUE(data->IsEmpty());
  EXPECT_EQ(*code, kGeneralFailure);
  EXPECT_EQ(CodeOf(pair.future), kGeneralFailure);
  EXPECT_EQ(TextOf(pair.future), "WaitForXMP failed");
}

TEST_F(WaitingTest, CallbackForAStateThatIsGoneIsSilent) {
  auto pair = CreateRequestFuture();
  Promise<void> promise = pair.promise;
  pair = FuturePromisePair<void>();
  auto result = std::make_shared<bool>(false);
  EXPECT_NO_THROW(
      TestMediaInfo::WaitForDependanceCheck(promise, tether::kConnectionStatusOK, true, result));
  EXPECT_NO_THROW(
      TestMediaInfo::WaitForDependanceCheck(promise, tether::kConnectionStatusFailed, true, result));
}

// ---- The blocking pattern

TEST_F(WaitingTest, ProductionDeadlineIsTwentyFourHours) {
  EXPECT_EQ(ServerWait::kDeadline.count(), 86400000000000);
  EXPECT_EQ(ServerWait::CurrentDeadline(), ServerWait::kDeadline);
  {
    ServerWait::ScopedDeadlineForTesting shortened(std::chrono::milliseconds(5));
    EXPECT_EQ(ServerWait::CurrentDeadline(), std::chrono::milliseconds(5));
  }
  EXPECT_EQ(ServerWait::CurrentDeadline(), ServerWait::kDeadline);
}

TEST_F(WaitingTest, SynchronousCallbackEndsTheWaitAtOnce) {
  auto linked = std::make_shared<bool>(false);
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    TestMediaInfo::BindWaitForDependanceCheck(promise, linked)(tether::kConnectionStatusOK, true);
  });
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(*linked);
}

TEST_F(WaitingTest, CallbackOnAnotherThreadEndsTheWait) {
  auto runtime = std::make_shared<Guid>();
  std::thread server;
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    tether::Source::GuidCallback callback = TestMediaInfo::BindWaitForRuntimeGuid(promise, runtime);
    server = std::thread([callback = std::move(callback)] {
      callback(tether::kConnectionStatusOK, kRuntime);
    });
  });
  server.join();
  EXPECT_EQ(code, 0);
  EXPECT_EQ(*runtime, kRuntime);
}

TEST_F(WaitingTest, DroppedCallbackBreaksThePromise) {
  auto linked = std::make_shared<bool>(true);
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    // The library takes the callback and destroys it without calling it.
    tether::Source::BoolCallback dropped = TestMediaInfo::BindWaitForDependanceCheck(promise, linked);
  });
  EXPECT_EQ(code, kBrokenPromise);
}

TEST_F(WaitingTest, CallbackDroppedLaterOnAnotherThreadEndsTheWait) {
  auto linked = std::make_shared<bool>(true);
  std::thread library;
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    // The library keeps the callback past the client call and lets go of it,
    // uncalled, on its own thread.
    auto callback = TestMediaInfo::BindWaitForDependanceCheck(promise, linked);
    library = std::thread([callback = std::move(callback)]() mutable { callback = nullptr; });
  });
  library.join();
  EXPECT_EQ(code, kBrokenPromise);
}

TEST_F(WaitingTest, FailingCallbackGivesTheGeneralFailureAndTheCallersDefault) {
  auto fonts = std::make_shared<unsigned int>(1);
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    TestMediaInfo::BindWaitForRuntimeFontUpdate(promise, fonts)(tether::kConnectionStatusFailed, 99);
  });
  EXPECT_EQ(code, kGeneralFailure);
  const unsigned int answer = code >= 0 ? *fonts : 0u;  // the caller's default
  EXPECT_EQ(answer, 0u);
  EXPECT_EQ(*fonts, 1u);
}

TEST_F(WaitingTest, WaitAfterTerminationBeganEndsWithTerminationCode) {
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminationStarted);
  bool issued = false;
  tether::Source::BoolCallback held;
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    issued = true;
    held = TestMediaInfo::BindWaitForDependanceCheck(promise, std::make_shared<bool>(false));
  });
  EXPECT_TRUE(issued);
  EXPECT_EQ(code, kTerminationStarted);
}

TEST_F(WaitingTest, WaitInProgressIsFailedByTermination) {
  tether::Source::BoolCallback held;
  std::thread terminator;
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    held = TestMediaInfo::BindWaitForDependanceCheck(promise, std::make_shared<bool>(false));
    terminator = std::thread([] {
      kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
    });
  });
  terminator.join();
  EXPECT_EQ(code, kTerminationStarted);
}

TEST_F(WaitingTest, PassedDeadlineGivesNotReadyAndALateAnswerIsHarmless) {
  ServerWait::ScopedDeadlineForTesting shortened(std::chrono::milliseconds(20));
  auto runtime = std::make_shared<Guid>();
  tether::Source::GuidCallback held;
  const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
    held = TestMediaInfo::BindWaitForRuntimeGuid(promise, runtime);
  });
  EXPECT_EQ(code, kNotReady);
  held(tether::kConnectionStatusOK, kRuntime);  // nobody reads it, and nothing breaks
  EXPECT_EQ(*runtime, kRuntime);
}

TEST_F(WaitingTest, XMPWaitGivesThePacket) {
  auto data = std::make_shared<RL::BinaryData>();
  auto code = std::make_shared<int>(-1);
  const int32_t result = ServerWait::Block([&](const Promise<void>& promise) {
    TestMediaInfo::BindWaitForXMP(promise, data, code)(tether::kConnectionStatusOK, "<xmp/>");
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(*data, RL::BinaryData::FromString("<xmp/>"));
}

TEST_F(WaitingTest, ResultCodeOfAFutureWithoutStateIsCancelled) {
  EXPECT_EQ(ServerWait::ResultCodeOf(kilncore::async::Future<void>()), kFutureIsCancelled);
}

TEST_F(WaitingTest, ResultCodeOfAPendingFutureIsNotReady) {
  auto pair = kilncore::async::CreateFuturePromisePair<void>();
  EXPECT_EQ(ServerWait::ResultCodeOf(pair.future), kNotReady);
  pair.promise.SetSuccess();
  EXPECT_EQ(ServerWait::ResultCodeOf(pair.future), 0);
}

TEST_F(WaitingTest, ManyWaitsAnsweredFromOtherThreadsAllSucceed) {
  for (int round = 0; round < 200; ++round) {
    auto linked = std::make_shared<bool>(false);
    std::thread server;
    const int32_t code = ServerWait::Block([&](const Promise<void>& promise) {
      auto callback = TestMediaInfo::BindWaitForDependanceCheck(promise, linked);
      server = std::thread([callback = std::move(callback)] {
        callback(tether::kConnectionStatusOK, true);
      });
    });
    server.join();
    ASSERT_EQ(code, 0) << round;
    ASSERT_TRUE(*linked) << round;
  }
}

}  // namespace
}  // namespace TetherMedia::testing
