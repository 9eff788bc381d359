#include <KL/FontSetUpdateManager.h>
#include <KL/IFontSetWatcher.h>

#include <kilncore/classref/InterfaceRef.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace {

using KL::Utils::FontSetUpdateManager;

class CountingWatcher : public KL::IFontSetWatcher {
 public:
  explicit CountingWatcher(bool reacts = true) : mReacts(reacts) {}

  bool OnFontSetChanged() override {
    ++mCalls;
    if (mOnChange) mOnChange();
    return mReacts;
  }

  int Calls() const { return mCalls.load(); }
  void SetOnChange(std::function<void()> action) { mOnChange = std::move(action); }

 private:
  bool mReacts;
  std::atomic<int> mCalls{0};
  std::function<void()> mOnChange;
};

TEST(FontSetUpdateManagerTest, FontChangeReachesEveryLiveWatcher) {
  FontSetUpdateManager manager;
  auto first = std::make_shared<CountingWatcher>();
  auto second = std::make_shared<CountingWatcher>(false);
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(first));
  manager.RegisterWatcher(kilncore::classref::InterfaceRef<KL::IFontSetWatcher>(second));

  EXPECT_EQ(manager.NotifyFontSetChanged(), 1u);  // only `first` reacts
  EXPECT_EQ(first->Calls(), 1);
  EXPECT_EQ(second->Calls(), 1);
}

TEST(FontSetUpdateManagerTest, RegisteringKeepsNoWatcherAlive) {
  FontSetUpdateManager manager;
  auto watcher = std::make_shared<CountingWatcher>();
  const std::weak_ptr<CountingWatcher> weak = watcher;
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(watcher));
  watcher.reset();
  EXPECT_TRUE(weak.expired());
}

TEST(FontSetUpdateManagerTest, DeadWatchersAreSkippedAndForgotten) {
  FontSetUpdateManager manager;
  auto alive = std::make_shared<CountingWatcher>();
  auto gone = std::make_shared<CountingWatcher>();
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(gone));
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(alive));
  gone.reset();

  EXPECT_EQ(manager.GetWatcherCount(), 1u);
  EXPECT_EQ(manager.NotifyFontSetChanged(), 1u);
  EXPECT_EQ(alive->Calls(), 1);
}

TEST(FontSetUpdateManagerTest, SameWatcherRegisteredTwiceIsToldOnce) {
  FontSetUpdateManager manager;
  auto watcher = std::make_shared<CountingWatcher>();
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(watcher));
  manager.RegisterWatcher(kilncore::classref::InterfaceRef<KL::IFontSetWatcher>(watcher));
  EXPECT_EQ(manager.GetWatcherCount(), 1u);
  manager.NotifyFontSetChanged();
  EXPECT_EQ(watcher->Calls(), 1);
}

TEST(FontSetUpdateManagerTest, EmptyReferencesAreIgnored) {
  FontSetUpdateManager manager;
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>());
  manager.RegisterWatcher(kilncore::classref::InterfaceRef<KL::IFontSetWatcher>());
  EXPECT_EQ(manager.GetWatcherCount(), 0u);
  EXPECT_EQ(manager.NotifyFontSetChanged(), 0u);
}

TEST(FontSetUpdateManagerTest, WatcherMayRegisterAnotherWhileBeingTold) {
  FontSetUpdateManager manager;
  auto late = std::make_shared<CountingWatcher>();
  auto first = std::make_shared<CountingWatcher>();
  first->SetOnChange(
      [&] { manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(late)); });
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(first));

  manager.NotifyFontSetChanged();
  EXPECT_EQ(late->Calls(), 0);  // it joined after the list was taken
  manager.NotifyFontSetChanged();
  EXPECT_EQ(late->Calls(), 1);
  EXPECT_EQ(first->Calls(), 2);
}

TEST(FontSetUpdateManagerTest, AnnouncementsAreNeverToldToOneWatcherAtOnce) {
  FontSetUpdateManager manager;
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  auto watcher = std::make_shared<CountingWatcher>();
  watcher->SetOnChange([&] {
    if (inside.fetch_add(1) != 0) overlapped = true;
    std::this_thread::yield();
    inside.fetch_sub(1);
  });
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(watcher));

  constexpr int kThreads = 4;
  constexpr int kRounds = 200;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int i = 0; i < kRounds; ++i) manager.NotifyFontSetChanged();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_FALSE(overlapped);
  EXPECT_EQ(watcher->Calls(), kThreads * kRounds);
}

TEST(FontSetUpdateManagerTest, RegisteringAndReleasingRaceWithAnnouncements) {
  FontSetUpdateManager manager;
  auto steady = std::make_shared<CountingWatcher>();
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(steady));

  constexpr int kRounds = 500;
  std::latch start(2);
  std::thread churn([&] {
    start.arrive_and_wait();
    for (int i = 0; i < kRounds; ++i) {
      auto shortLived = std::make_shared<CountingWatcher>();
      manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(shortLived));
    }
  });
  start.arrive_and_wait();
  for (int i = 0; i < kRounds; ++i) manager.NotifyFontSetChanged();
  churn.join();

  EXPECT_EQ(steady->Calls(), kRounds);
  EXPECT_EQ(manager.GetWatcherCount(), 1u);
}

TEST(FontSetUpdateManagerTest, HostWideInstanceIsOneObject) {
  EXPECT_NE(FontSetUpdateManager::GetInstance(), nullptr);
  EXPECT_EQ(FontSetUpdateManager::GetInstance(), FontSetUpdateManager::GetInstance());
}

TEST(FontSetUpdateManagerTest, FontManagerIsUsedUnlessTheHostSwitchesItOff) {
  EXPECT_TRUE(KL::Utils::UseFontManager());
  KL::Utils::SetUseFontManager(false);
  EXPECT_FALSE(KL::Utils::UseFontManager());
  KL::Utils::SetUseFontManager(true);
  EXPECT_TRUE(KL::Utils::UseFontManager());
}

}  // namespace
