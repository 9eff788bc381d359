#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <kilncore/debug/TraceSite.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <latch>
#include <thread>
#include <vector>

namespace kilncore::debug {
namespace {

// Trace settings are process-wide: each test starts from none and leaves none.
class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override { ClearTraceSettings(); }
  void TearDown() override { ClearTraceSettings(); }
  TraceCapture mCapture;
};

TEST_F(TraceTest, ChannelsAreOffUntilSet) {
  EXPECT_FALSE(TraceEnabled("TetherMedia", 0, true));
  Trace(0, "TetherMedia", "dropped");
  EXPECT_TRUE(mCapture.Lines().empty());
}

TEST_F(TraceTest, LevelEnablesItselfAndEverythingBelow) {
  SetTraceLevel("TetherMediaInfo", 6);
  EXPECT_TRUE(TraceEnabled("TetherMediaInfo", 0, true));
  EXPECT_TRUE(TraceEnabled("TetherMediaInfo", 6, true));
  EXPECT_FALSE(TraceEnabled("TetherMediaInfo", 10, true));
  EXPECT_FALSE(TraceEnabled("TetherMedia", 6, true));
  SetTraceLevel("TetherMediaInfo", -1);
  EXPECT_FALSE(TraceEnabled("TetherMediaInfo", 0, true));
}

TEST_F(TraceTest, TraceWritesOnlyEnabledLines) {
  SetTraceLevel("TetherMedia", 6);
  Trace(6, "TetherMedia", "an item's life");
  Trace(10, "TetherMedia", "a frame");
  Trace(6, "TetherMedia", WideStringView(u"caf\u00E9"));
  const auto lines = mCapture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].level, 6);
  EXPECT_EQ(lines[0].channel, "TetherMedia");
  EXPECT_EQ(lines[0].text, "an item's life");
  EXPECT_EQ(lines[1].text, "caf\xC3\xA9");
  EXPECT_TRUE(mCapture.Contains("TetherMedia", "item"));
  EXPECT_FALSE(mCapture.Contains("TetherMediaInfo", "item"));
}

TEST_F(TraceTest, SettingsTextSetsSeveralChannels) {
  EXPECT_EQ(ApplyTraceSettings(" TetherMedia=10, TetherMediaInfo = 6 ,bad,=3,x=y,"), 2u);
  EXPECT_TRUE(TraceEnabled("TetherMedia", 10, true));
  EXPECT_TRUE(TraceEnabled("TetherMediaInfo", 6, true));
  EXPECT_FALSE(TraceEnabled("TetherMediaInfo", 7, true));
  EXPECT_FALSE(TraceEnabled("bad", 0, true));
}

TEST_F(TraceTest, StarSetsTheDefaultOfAllChannels) {
  ApplyTraceSettings("*=5,TetherMedia=10");
  EXPECT_TRUE(TraceEnabled("MOTION-GRAPHICS-TEMPLATE", 5, true));
  EXPECT_FALSE(TraceEnabled("MOTION-GRAPHICS-TEMPLATE", 6, true));
  EXPECT_TRUE(TraceEnabled("TetherMedia", 10, true));
}

TEST_F(TraceTest, EnvironmentVariableIsRead) {
  ASSERT_EQ(setenv("KILN_TRACE", "TetherMedia=10,TetherMediaInfo=6", 1), 0);
  ReloadTraceSettingsFromEnvironment();
  unsetenv("KILN_TRACE");
  EXPECT_TRUE(TraceEnabled("TetherMedia", 10, true));
  EXPECT_TRUE(TraceEnabled("TetherMediaInfo", 6, true));
  EXPECT_FALSE(TraceEnabled("TetherMediaInfo", 10, true));
}

TEST_F(TraceTest, EveryChangeMovesTheChangeCount) {
  const uint64_t before = TraceChangeCount();
  EXPECT_NE(before, 0u);
  SetTraceLevel("TetherMedia", 1);
  const uint64_t afterSet = TraceChangeCount();
  EXPECT_NE(afterSet, before);
  ClearTraceSettings();
  EXPECT_NE(TraceChangeCount(), afterSet);
  const uint64_t stable = TraceChangeCount();
  EXPECT_FALSE(TraceEnabled("TetherMedia", 0, true));
  EXPECT_EQ(TraceChangeCount(), stable);  // asking changes nothing
}

TEST_F(TraceTest, AskedChannelsAreKnown) {
  TraceEnabled("AskedChannel", 3, true);
  TraceEnabled("UnregisteredChannel", 3, false);
  SetTraceLevel("SetChannel", 1);
  const auto known = KnownTraceChannels();
  EXPECT_NE(std::find(known.begin(), known.end(), "AskedChannel"), known.end());
  EXPECT_NE(std::find(known.begin(), known.end(), "SetChannel"), known.end());
  EXPECT_EQ(std::find(known.begin(), known.end(), "UnregisteredChannel"), known.end());
}

TEST_F(TraceTest, SiteFollowsChangesOfTheSettings) {
  TraceSite site("TetherMedia", 10);
  EXPECT_FALSE(site.Enabled());
  site.Write("not written");
  SetTraceLevel("TetherMedia", 10);
  EXPECT_TRUE(site.Enabled());
  site.Write("Rendering frame at time 0");
  SetTraceLevel("TetherMedia", 5);
  EXPECT_FALSE(site.Enabled());
  site.Write("not written either");
  const auto lines = mCapture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text, "Rendering frame at time 0");
  EXPECT_EQ(lines[0].level, 10);
}

TEST_F(TraceTest, CaptureEndsAndRestoresThePreviousSink) {
  SetTraceLevel("Nested", 0);
  {
    TraceCapture inner;
    Trace(0, "Nested", "inner");
    EXPECT_EQ(inner.Lines().size(), 1u);
  }
  Trace(0, "Nested", "outer");
  const auto lines = mCapture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text, "outer");
}

// Sites are read on many threads while the settings change; every answer
// must be one the settings gave at some point, and nothing may race.
TEST_F(TraceTest, SitesAreSafeAcrossThreads) {
  static TraceSite site("Concurrent", 3);
  constexpr int kReaders = 3;
  std::latch start(kReaders + 1);
  std::atomic<bool> stop{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < kReaders; ++i) {
    readers.emplace_back([&] {
      start.arrive_and_wait();
      while (!stop.load()) site.Write("line");
    });
  }
  start.arrive_and_wait();
  for (int i = 0; i < 200; ++i) SetTraceLevel("Concurrent", i % 2 == 0 ? 3 : -1);
  SetTraceLevel("Concurrent", 3);
  stop = true;
  for (auto& reader : readers) reader.join();
  EXPECT_TRUE(site.Enabled());
  SetTraceLevel("Concurrent", -1);
  EXPECT_FALSE(site.Enabled());
}

}  // namespace
}  // namespace kilncore::debug
