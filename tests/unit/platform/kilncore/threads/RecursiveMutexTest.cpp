#include <kilncore/threads/RecursiveMutex.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <system_error>
#include <thread>
#include <vector>

namespace kilncore::threads {
namespace {

using namespace std::chrono_literals;

// Holds `mutex` on another thread until released, so the test thread can try
// its luck against it.
class HeldElsewhere {
 public:
  explicit HeldElsewhere(RecursiveMutex& mutex)
      : mThread([this, &mutex] {
          mutex.Lock(60000u);
          mLocked.count_down();
          mRelease.wait();
          mutex.Unlock();
        }) {
    mLocked.wait();
  }
  ~HeldElsewhere() {
    mRelease.count_down();
    mThread.join();
  }

 private:
  std::latch mLocked{1};
  std::latch mRelease{1};
  std::thread mThread;
};

TEST(RecursiveMutex, OwnerCanLockAgainAndMustUnlockAsOften) {
  RecursiveMutex mutex;
  ASSERT_TRUE(mutex.Lock(60000u));
  ASSERT_TRUE(mutex.Lock(std::chrono::milliseconds(60000)));
  ASSERT_TRUE(mutex.TryLock());
  mutex.Unlock();
  mutex.Unlock();

  std::atomic<bool> otherGotIt{true};
  std::thread other([&] { otherGotIt = mutex.TryLock(); });
  other.join();
  EXPECT_FALSE(otherGotIt.load()) << "still held once";

  mutex.Unlock();
  std::thread after([&] {
    otherGotIt = mutex.TryLock();
    if (otherGotIt) mutex.Unlock();
  });
  after.join();
  EXPECT_TRUE(otherGotIt.load());
}

TEST(RecursiveMutex, LockTimesOutWhileAnotherThreadHoldsIt) {
  RecursiveMutex mutex;
  HeldElsewhere holder(mutex);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(mutex.Lock(20ms));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
  EXPECT_FALSE(mutex.Lock(0u));
  EXPECT_FALSE(mutex.TryLock());
}

TEST(RecursiveMutex, ScopedLockThrowsTimedOutAtTheLimitAndHoldsNothing) {
  RecursiveMutex mutex;
  {
    HeldElsewhere holder(mutex);
    try {
      RecursiveMutex::ScopedLock lock(mutex, 10ms);
      FAIL() << "expected a timeout";
    } catch (const std::system_error& e) {
      EXPECT_EQ(e.code(), std::make_error_code(std::errc::timed_out));
    }
  }
  // Nothing was left held by the failed attempt: another thread gets it.
  std::atomic<bool> gotIt{false};
  std::thread other([&] {
    gotIt = mutex.TryLock();
    if (gotIt) mutex.Unlock();
  });
  other.join();
  EXPECT_TRUE(gotIt.load());
}

TEST(RecursiveMutex, ScopedLocksNestAndReleaseOnScopeExit) {
  RecursiveMutex mutex;
  {
    ScopedRecursiveLock outer(mutex);
    ScopedRecursiveLock inner(mutex);
  }
  std::atomic<bool> gotIt{false};
  std::thread other([&] {
    gotIt = mutex.TryLock();
    if (gotIt) mutex.Unlock();
  });
  other.join();
  EXPECT_TRUE(gotIt.load());
}

TEST(RecursiveMutex, UnlockByAThreadThatDoesNotHoldItThrows) {
  RecursiveMutex mutex;
  EXPECT_THROW(mutex.Unlock(), std::system_error);
  HeldElsewhere holder(mutex);
  EXPECT_THROW(mutex.Unlock(), std::system_error);
}

TEST(RecursiveMutex, WaiterGetsTheLockWhenTheOwnerReleasesIt) {
  RecursiveMutex mutex;
  ASSERT_TRUE(mutex.Lock(60000u));
  std::latch trying(1);
  std::atomic<bool> gotIt{false};
  std::thread waiter([&] {
    trying.count_down();
    gotIt = mutex.Lock(60000u);
    if (gotIt) mutex.Unlock();
  });
  trying.wait();
  mutex.Unlock();
  waiter.join();
  EXPECT_TRUE(gotIt.load());
}

TEST(RecursiveMutex, DefaultLimitIsSixtySeconds) {
  EXPECT_EQ(RecursiveMutex::kDefaultTimeout, std::chrono::milliseconds(60000));
}

TEST(RecursiveMutex, ExcludesOtherThreadsUnderContention) {
  RecursiveMutex mutex;
  int counter = 0;  // guarded by mutex only; ThreadSanitizer checks it
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        ScopedRecursiveLock outer(mutex);
        ScopedRecursiveLock inner(mutex);
        ++counter;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counter, 8000);
}

}  // namespace
}  // namespace kilncore::threads
