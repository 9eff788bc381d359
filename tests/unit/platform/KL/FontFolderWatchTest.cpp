// The font manager noticing changes of font folders by itself.

#include <KL/FontFolderWatch.h>
#include <KL/FontSetUpdateManager.h>
#include <KL/IFontSetWatcher.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>

namespace {

using KL::Utils::FontFolderWatch;
using KL::Utils::FontSetUpdateManager;
using namespace std::chrono_literals;

constexpr auto kWait = 10s;

class Folder {
 public:
  Folder() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    mPath = std::filesystem::temp_directory_path() /
            ("tether-font-watch-" + std::string(info->name()) + "-" + std::to_string(::getpid()));
    std::filesystem::create_directories(mPath);
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  const std::filesystem::path& Path() const { return mPath; }
  void Write(const std::string& name) { std::ofstream(mPath / name) << "font bytes"; }

 private:
  std::filesystem::path mPath;
};

// Counts announcements and lets a test wait for the n-th.
class Announcements {
 public:
  void Add() {
    std::lock_guard lock(mMutex);
    ++mCount;
    mChanged.notify_all();
  }
  bool WaitFor(int count) {
    std::unique_lock lock(mMutex);
    return mChanged.wait_for(lock, kWait, [&] { return mCount >= count; });
  }
  int Count() {
    std::lock_guard lock(mMutex);
    return mCount;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mCount = 0;
};

class Watcher : public KL::IFontSetWatcher {
 public:
  explicit Watcher(Announcements& told) : mTold(told) {}
  bool OnFontSetChanged() override {
    mTold.Add();
    return true;
  }

 private:
  Announcements& mTold;
};

TEST(FontFolderWatchTest, FontCopiedIntoAFolderIsAnnounced) {
  Folder folder;
  Announcements told;
  FontFolderWatch watch([&] { return std::vector<std::string>{folder.Path().string()}; }, [&] { told.Add(); },
                        10ms);
  ASSERT_TRUE(watch.IsWatching());
  folder.Write("New.ttf");
  EXPECT_TRUE(told.WaitFor(1));
}

TEST(FontFolderWatchTest, RemovedFontIsAnnounced) {
  Folder folder;
  folder.Write("Old.ttf");
  Announcements told;
  FontFolderWatch watch([&] { return std::vector<std::string>{folder.Path().string()}; }, [&] { told.Add(); },
                        10ms);
  std::filesystem::remove(folder.Path() / "Old.ttf");
  EXPECT_TRUE(told.WaitFor(1));
}

TEST(FontFolderWatchTest, FontInANewSubFolderIsAnnounced) {
  Folder folder;
  Announcements told;
  FontSetUpdateManager manager;
  auto watcher = std::make_shared<Watcher>(told);
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(watcher));
  ASSERT_TRUE(manager.WatchMachineFonts({folder.Path().string()}));
  std::filesystem::create_directory(folder.Path() / "family");
  ASSERT_TRUE(told.WaitFor(1));
  const int before = told.Count();
  std::ofstream(folder.Path() / "family" / "Bold.ttf") << "font bytes";
  EXPECT_TRUE(told.WaitFor(before + 1));
}

TEST(FontFolderWatchTest, MissingFoldersAreSkippedAndStoppingIsClean) {
  Announcements told;
  {
    FontFolderWatch watch([] { return std::vector<std::string>{"/nonexistent/fonts"}; }, [&] { told.Add(); });
    EXPECT_TRUE(watch.IsWatching());
  }
  EXPECT_EQ(told.Count(), 0);
}

TEST(FontFolderWatchTest, ManagerTellsLiveWatchersAndSkipsGoneOnes) {
  Folder folder;
  Announcements told;
  Announcements toldGone;
  FontSetUpdateManager manager;
  auto live = std::make_shared<Watcher>(told);
  auto gone = std::make_shared<Watcher>(toldGone);
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(live));
  manager.RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(gone));
  gone.reset();
  ASSERT_TRUE(manager.WatchMachineFonts({folder.Path().string()}));
  folder.Write("New.otf");
  EXPECT_TRUE(told.WaitFor(1));
  EXPECT_EQ(toldGone.Count(), 0);
  manager.StopWatchingMachineFonts();
  const int after = told.Count();
  folder.Write("Later.otf");
  // Stopped: nothing is watched any more, so nothing can be announced; the
  // watch's thread has ended.
  EXPECT_EQ(told.Count(), after);
}

TEST(FontFolderWatchTest, MachineFontFoldersAreWhereFontconfigLooks) {
  const auto folders = FontSetUpdateManager::MachineFontFolders();
  for (const auto& folder : folders) EXPECT_TRUE(std::filesystem::is_directory(folder)) << folder;
}

}  // namespace
