#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kilncore::appstatemanager {
namespace {

class AppStateManagerTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetAppStateForTesting(); }
  void TearDown() override { ResetAppStateForTesting(); }
};

TEST_F(AppStateManagerTest, StartsBeforeTerminationAtTheFirstState) {
  EXPECT_EQ(GetCurrentAppState(), kAppStateStarting);
  EXPECT_FALSE(WillTerminate());
  EXPECT_TRUE(HasReachedAppStateAlready(kAppStateStarting));
  EXPECT_FALSE(HasReachedAppStateAlready(kAppStateTerminating));
}

TEST_F(AppStateManagerTest, TerminatingIsStateFive) {
  EXPECT_EQ(kAppStateTerminating, 5);
  EXPECT_LT(kAppStateTerminationStarted, kAppStateTerminating);
}

TEST_F(AppStateManagerTest, WillTerminateBecomesTrueAtTheStartOfTermination) {
  AdvanceAppState(kAppStateShuttingDownUI);
  EXPECT_FALSE(WillTerminate());
  AdvanceAppState(kAppStateTerminationStarted);
  EXPECT_TRUE(WillTerminate());
  EXPECT_FALSE(HasReachedAppStateAlready(5));
  AdvanceAppState(5);
  EXPECT_TRUE(HasReachedAppStateAlready(5));
}

TEST_F(AppStateManagerTest, CallbacksOfAStateSeeWillTerminateAndTheStateReached) {
  bool sawTerminate = false;
  bool sawReached = false;
  RegisterAppStateCallback(5, [&] {
    sawTerminate = WillTerminate();
    sawReached = HasReachedAppStateAlready(5);
  });
  AdvanceAppState(5);
  EXPECT_TRUE(sawTerminate);
  EXPECT_TRUE(sawReached);
}

TEST_F(AppStateManagerTest, AdvancingPassesEveryStateInOrderAndCallbacksInRegistrationOrder) {
  std::vector<int> calls;
  RegisterAppStateCallback(5, [&] { calls.push_back(50); });
  RegisterAppStateCallback(2, [&] { calls.push_back(20); });
  RegisterAppStateCallback(5, [&] { calls.push_back(51); });
  RegisterAppStateCallback(4, [&] { calls.push_back(40); });
  RegisterAppStateCallback(6, [&] { calls.push_back(60); });
  AdvanceAppState(5);
  EXPECT_EQ(calls, (std::vector<int>{20, 40, 50, 51}));
}

TEST_F(AppStateManagerTest, EachCallbackRunsOnce) {
  int runs = 0;
  RegisterAppStateCallback(3, [&] { ++runs; });
  AdvanceAppState(3);
  AdvanceAppState(3);
  AdvanceAppState(5);
  EXPECT_EQ(runs, 1);
}

TEST_F(AppStateManagerTest, StatesNeverGoBack) {
  AdvanceAppState(4);
  AdvanceAppState(2);
  EXPECT_EQ(GetCurrentAppState(), 4);
  EXPECT_TRUE(WillTerminate());
}

TEST_F(AppStateManagerTest, RegisteringForAReachedStateRunsAtOnceOnTheCaller) {
  AdvanceAppState(5);
  std::thread::id ranOn;
  RegisterAppStateCallback(5, [&] { ranOn = std::this_thread::get_id(); });
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(AppStateManagerTest, ThrowingCallbackIsLoggedAndOthersRun) {
  logging::ScopedLogCapture capture;
  bool laterRan = false;
  RegisterAppStateCallback(5, [] { throw std::runtime_error("teardown failed"); });
  RegisterAppStateCallback(5, [&] { laterRan = true; });
  EXPECT_NO_THROW(AdvanceAppState(5));
  EXPECT_TRUE(laterRan);
  EXPECT_EQ(capture.Count(), 1u);
}

TEST_F(AppStateManagerTest, CallbackMayRegisterAndAdvanceFurther) {
  std::vector<int> calls;
  RegisterAppStateCallback(4, [&] {
    calls.push_back(4);
    RegisterAppStateCallback(5, [&] { calls.push_back(5); });
    AdvanceAppState(5);
  });
  AdvanceAppState(4);
  EXPECT_EQ(calls, (std::vector<int>{4, 5}));
  EXPECT_EQ(GetCurrentAppState(), 5);
}

TEST_F(AppStateManagerTest, ResetForgetsPendingCallbacksAndStartsAgain) {
  int runs = 0;
  const uint64_t generation = GetAppStateGeneration();
  RegisterAppStateCallback(5, [&] { ++runs; });
  AdvanceAppState(4);
  ResetAppStateForTesting();
  EXPECT_EQ(GetAppStateGeneration(), generation + 1);
  EXPECT_FALSE(WillTerminate());
  EXPECT_EQ(GetCurrentAppState(), kAppStateStarting);
  AdvanceAppState(5);
  EXPECT_EQ(runs, 0);
}

TEST_F(AppStateManagerTest, RegistrationRacingWithTerminationRunsEveryCallbackOnce) {
  for (int round = 0; round < 200; ++round) {
    ResetAppStateForTesting();
    std::atomic<int> runs{0};
    std::latch start(2);
    std::thread terminator([&] {
      start.arrive_and_wait();
      AdvanceAppState(5);
    });
    start.arrive_and_wait();
    for (int i = 0; i < 5; ++i) RegisterAppStateCallback(5, [&] { ++runs; });
    terminator.join();
    ASSERT_EQ(runs.load(), 5) << "round " << round;
  }
}

}  // namespace
}  // namespace kilncore::appstatemanager
