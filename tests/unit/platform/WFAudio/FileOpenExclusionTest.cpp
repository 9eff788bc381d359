#include <WF/FileOpenExclusion.h>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <thread>
#include <vector>

namespace {

TEST(FileOpenExclusionTest, SecondHolderOfAPathWaitsForTheFirst) {
  std::atomic<bool> firstReleased{false};
  std::atomic<bool> secondSawRelease{false};
  std::promise<void> firstHolds;
  std::promise<void> secondTrying;
  std::thread second;
  {
    const Wharf::FileOpenExclusion first(u"/p/Show.marlp");
    second = std::thread([&] {
      secondTrying.set_value();
      const Wharf::FileOpenExclusion mine(u"/p/Show.marlp");
      secondSawRelease = firstReleased.load();
    });
    secondTrying.get_future().wait();
    firstReleased = true;
  }
  second.join();
  EXPECT_TRUE(secondSawRelease);
}

TEST(FileOpenExclusionTest, OtherPathsDoNotWait) {
  const Wharf::FileOpenExclusion held(u"/p/Show.marlp");
  auto other = std::async(std::launch::async, [] {
    const Wharf::FileOpenExclusion mine(u"/p/Other.marlp");
    return true;
  });
  EXPECT_TRUE(other.get());
}

TEST(FileOpenExclusionTest, SameThreadMayTakeItAgain) {
  const Wharf::FileOpenExclusion outer(u"/p/Show.marlp");
  const Wharf::FileOpenExclusion inner(u"/p/Show.marlp");
  SUCCEED();
}

TEST(FileOpenExclusionTest, PathIsFreeAfterTheOutermostRelease) {
  {
    const Wharf::FileOpenExclusion outer(u"/p/Show.marlp");
    { const Wharf::FileOpenExclusion inner(u"/p/Show.marlp"); }
  }
  auto other = std::async(std::launch::async, [] {
    const Wharf::FileOpenExclusion mine(u"/p/Show.marlp");
    return true;
  });
  EXPECT_TRUE(other.get());
}

TEST(FileOpenExclusionTest, HoldersOfOnePathNeverOverlap) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int i = 0; i < kRounds; ++i) {
        const Wharf::FileOpenExclusion exclusion(u"/p/Shared.marlp");
        if (inside.fetch_add(1) != 0) overlapped = true;
        std::this_thread::yield();
        inside.fetch_sub(1);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_FALSE(overlapped);
}

}  // namespace
