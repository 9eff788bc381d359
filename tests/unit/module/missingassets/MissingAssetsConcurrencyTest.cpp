#include <TetherMedia/MissingAssets.h>
#include <module/MissingAssetsRegistry.h>

#include <gtest/gtest.h>

#include <latch>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using tether::MissingAssets;
using tether::MissingFont;

constexpr int kThreads = 4;
constexpr int kPathsPerThread = 25;
constexpr int kRounds = 20;

// Thread `thread` reports its own font, and a font shared by every thread.
MissingAssets ReportOf(int thread, int path) {
  MissingAssets assets;
  assets.fonts = {MissingFont{"Shared", "Regular", "", "", 0},
                  MissingFont{"Font" + std::to_string(thread), std::to_string(path), "", "", thread}};
  assets.effects = {"Effect" + std::to_string(path)};
  return assets;
}

kilncore::WideString PathOf(int thread, int path) {
  return u"/project/" + kilncore::WideString(1, static_cast<char16_t>(u'a' + thread)) + u"/" +
         kilncore::WideString(1, static_cast<char16_t>(u'A' + path));
}

// No font may appear twice: every report here has distinct fonts.
bool HasNoDuplicates(const std::vector<MissingFont>& fonts) {
  std::set<std::pair<std::string, std::string>> seen;
  for (const MissingFont& font : fonts) {
    if (!seen.emplace(font.identityA, font.identityB).second) return false;
  }
  return true;
}

class MissingAssetsConcurrencyTest : public ::testing::Test {
 protected:
  void SetUp() override { TetherMedia::ResetMissingFonts(); }
  void TearDown() override { TetherMedia::ResetMissingFonts(); }
};

TEST_F(MissingAssetsConcurrencyTest, ConcurrentAddsAndReadsKeepEveryFontOnce) {
  for (int round = 0; round < kRounds; ++round) {
    TetherMedia::ResetMissingFonts();
    std::latch start(kThreads * 2);
    std::vector<std::thread> threads;
    bool readsWereConsistent[kThreads] = {};
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&start, t] {
        start.arrive_and_wait();
        for (int p = 0; p < kPathsPerThread; ++p) {
          TetherMedia::AddMissingAssets(ReportOf(t, p), PathOf(t, p));
          // Every path is reported twice; the second must change nothing.
          TetherMedia::AddMissingAssets(ReportOf(t + kThreads, p), PathOf(t, p));
        }
      });
      threads.emplace_back([&start, &readsWereConsistent, t] {
        start.arrive_and_wait();
        bool consistent = true;
        for (int read = 0; read < kPathsPerThread; ++read) {
          consistent = consistent && HasNoDuplicates(TetherMedia::GetMissingFonts());
        }
        readsWereConsistent[t] = consistent;
      });
    }
    for (std::thread& thread : threads) thread.join();

    for (bool consistent : readsWereConsistent) EXPECT_TRUE(consistent);
    const std::vector<MissingFont> fonts = TetherMedia::GetMissingFonts();
    EXPECT_EQ(fonts.size(), 1u + kThreads * kPathsPerThread);
    EXPECT_TRUE(HasNoDuplicates(fonts));
    EXPECT_EQ(fonts.front().identityA, "Shared");
    EXPECT_EQ(TetherMedia::gMissingAssetsByProject.size(),
              static_cast<size_t>(kThreads * kPathsPerThread));
    for (const auto& [path, assets] : TetherMedia::gMissingAssetsByProject) {
      // The first report of each path won: its fonts are of a thread below kThreads.
      EXPECT_LT(assets.fonts.back().value, kThreads);
    }
  }
}

TEST_F(MissingAssetsConcurrencyTest, ResetsRacingWithAddsLeaveAConsistentRegistry) {
  for (int round = 0; round < kRounds; ++round) {
    std::latch start(kThreads + 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&start, t] {
        start.arrive_and_wait();
        for (int p = 0; p < kPathsPerThread; ++p) {
          TetherMedia::AddMissingAssets(ReportOf(t, p), PathOf(t, p));
        }
      });
    }
    threads.emplace_back([&start] {
      start.arrive_and_wait();
      for (int r = 0; r < kPathsPerThread; ++r) {
        TetherMedia::ResetMissingFonts();
        EXPECT_TRUE(HasNoDuplicates(TetherMedia::GetMissingFonts()));
      }
    });
    for (std::thread& thread : threads) thread.join();

    // Whatever survived the resets is complete per path and merged once.
    const std::vector<MissingFont> fonts = TetherMedia::GetMissingFonts();
    EXPECT_TRUE(HasNoDuplicates(fonts));
    size_t paths = 0;
    {
      kilncore::threads::ScopedRecursiveLock lock(TetherMedia::gMissingAssetsMutex);
      paths = TetherMedia::gMissingAssetsByProject.size();
    }
    EXPECT_EQ(fonts.size(), paths == 0 ? 0u : paths + 1);
    TetherMedia::ResetMissingFonts();
  }
}

}  // namespace
