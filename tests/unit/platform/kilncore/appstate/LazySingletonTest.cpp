#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/utility/LazySingleton.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <memory>
#include <thread>
#include <vector>

namespace kilncore::utility::detail {
namespace {

using appstatemanager::kAppStateTerminating;

struct Counted {
  static inline std::atomic<int> alive{0};
  static inline std::atomic<int> made{0};
  Counted() {
    ++alive;
    ++made;
  }
  ~Counted() { --alive; }
};

class LazySingletonTest : public ::testing::Test {
 protected:
  void SetUp() override {
    appstatemanager::ResetAppStateForTesting();
    Counted::alive = 0;
    Counted::made = 0;
  }
  void TearDown() override { appstatemanager::ResetAppStateForTesting(); }

  std::shared_ptr<Counted> Use() { return CreateLazySingleton(mStorage, kAppStateTerminating); }

  LazySingletonStorage<Counted> mStorage;
};

TEST_F(LazySingletonTest, IsNullBeforeFirstUse) {
  EXPECT_EQ(mStorage.Get(), nullptr);
  EXPECT_EQ(Counted::made.load(), 0);
}

TEST_F(LazySingletonTest, FirstUseMakesOneInstanceThatLaterUsesShare) {
  auto first = Use();
  auto second = Use();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(mStorage.Get(), first);
  EXPECT_EQ(Counted::made.load(), 1);
}

TEST_F(LazySingletonTest, FactoryIsUsedForTheInstance) {
  int calls = 0;
  auto instance = CreateLazySingleton(mStorage, kAppStateTerminating, [&] {
    ++calls;
    return std::make_shared<Counted>();
  });
  CreateLazySingleton(mStorage, kAppStateTerminating, [&] {
    ++calls;
    return std::make_shared<Counted>();
  });
  EXPECT_NE(instance, nullptr);
  EXPECT_EQ(calls, 1);
}

TEST_F(LazySingletonTest, IsDestroyedWhenTheEndStateIsReached) {
  Use();
  EXPECT_EQ(Counted::alive.load(), 1);
  appstatemanager::AdvanceAppState(kAppStateTerminating - 1);
  EXPECT_EQ(Counted::alive.load(), 1) << "still alive when termination merely started";
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(Counted::alive.load(), 0);
  EXPECT_EQ(mStorage.Get(), nullptr);
}

TEST_F(LazySingletonTest, StaysNullAfterDestruction) {
  Use();
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(Use(), nullptr);
  EXPECT_EQ(Counted::made.load(), 1);
}

TEST_F(LazySingletonTest, FirstUseAfterTheEndStateMakesNothingForGood) {
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(Use(), nullptr);
  EXPECT_EQ(Use(), nullptr);
  EXPECT_EQ(Counted::made.load(), 0);
}

TEST_F(LazySingletonTest, FirstUseAfterTerminationStartedStillMakesAnInstance) {
  // The singleton's own end is state 5; whether to use it once termination has
  // begun is the caller's decision (through WillTerminate).
  appstatemanager::AdvanceAppState(kAppStateTerminating - 1);
  EXPECT_NE(Use(), nullptr);
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(Counted::alive.load(), 0);
}

TEST_F(LazySingletonTest, HolderKeepsTheInstanceUntilItLetsGo) {
  auto held = Use();
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(mStorage.Get(), nullptr);
  EXPECT_EQ(Counted::alive.load(), 1);
  held.reset();
  EXPECT_EQ(Counted::alive.load(), 0);
}

TEST_F(LazySingletonTest, AfterResetANewInstanceCanBeMade) {
  Use();
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  appstatemanager::ResetAppStateForTesting();
  auto again = Use();
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(Counted::made.load(), 2);
  appstatemanager::AdvanceAppState(kAppStateTerminating);
  EXPECT_EQ(mStorage.Get(), nullptr);
}

TEST_F(LazySingletonTest, ResetWithoutTerminationReplacesTheOldInstanceAtNextUse) {
  auto old = Use();
  appstatemanager::ResetAppStateForTesting();
  auto fresh = Use();
  EXPECT_NE(old, fresh);
  old.reset();
  EXPECT_EQ(Counted::alive.load(), 1);
}

TEST_F(LazySingletonTest, ConcurrentFirstUsesMakeOneInstance) {
  for (int round = 0; round < 100; ++round) {
    appstatemanager::ResetAppStateForTesting();
    constexpr int kThreads = 4;
    std::barrier start(kThreads);
    std::vector<std::shared_ptr<Counted>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        seen[i] = Use();
      });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& instance : seen) ASSERT_EQ(instance, seen.front());
    ASSERT_NE(seen.front(), nullptr);
  }
}

TEST_F(LazySingletonTest, FirstUseRacingWithTerminationLeavesNoInstanceBehind) {
  for (int round = 0; round < 200; ++round) {
    appstatemanager::ResetAppStateForTesting();
    std::barrier start(2);
    std::shared_ptr<Counted> got;
    std::thread user([&] {
      start.arrive_and_wait();
      got = Use();
    });
    start.arrive_and_wait();
    appstatemanager::AdvanceAppState(kAppStateTerminating);
    user.join();
    got.reset();
    ASSERT_EQ(mStorage.Get(), nullptr) << "round " << round;
    ASSERT_EQ(Counted::alive.load(), 0);
  }
}

}  // namespace
}  // namespace kilncore::utility::detail
