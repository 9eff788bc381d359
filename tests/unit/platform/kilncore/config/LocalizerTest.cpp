#include <kilncore/config/Localizer.h>

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

namespace kilncore::config {
namespace {

class LocalizerTest : public ::testing::Test {
 protected:
  void TearDown() override { Localizer::Get().ClearTranslations(); }
};

TEST_F(LocalizerTest, GivesTheDefaultBehindTheFirstEquals) {
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/fps=fps"), u"fps");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/AudioPartDelimiter= - "), u" - ");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/Eq=a=b"), u"a=b");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/Empty="), u"");
  EXPECT_EQ(Localizer::Get().Localize("$$$/TetherMedia/ReadingXMP=Reading XMP..."),
            "Reading XMP...");
}

TEST_F(LocalizerTest, LoadedTranslationWins) {
  Localizer::Get().LoadTranslation("$$$/TetherMedia/fps", u"i/s");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/fps=fps"), u"i/s");
  EXPECT_EQ(Localizer::Get().Localize("$$$/TetherMedia/fps=fps"), "i/s");
  Localizer::Get().LoadTranslation("$$$/TetherMedia/fps", std::string_view("B/s \xC3\xA9"));
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/fps=fps"), u"B/s \u00E9");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/TetherMedia/Other=other"), u"other");
}

TEST_F(LocalizerTest, TextsThatAreNoKeysComeBackUnchanged) {
  EXPECT_EQ(Localizer::Get().Localize(u"plain text=with equals"), u"plain text=with equals");
  EXPECT_EQ(Localizer::Get().Localize(u""), u"");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/NoDefault"), u"$$$/NoDefault");
  Localizer::Get().LoadTranslation("$$$/NoDefault", u"translated");
  EXPECT_EQ(Localizer::Get().Localize(u"$$$/NoDefault"), u"translated");
}

TEST_F(LocalizerTest, ConcurrentLookupsAndLoads) {
  std::latch start(3);
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int i = 0; i < 2000; ++i) {
        const WideString text = Localizer::Get().Localize(u"$$$/K=default");
        EXPECT_TRUE(text == u"default" || text == u"loaded");
      }
    });
  }
  threads.emplace_back([&] {
    start.arrive_and_wait();
    for (int i = 0; i < 500; ++i) Localizer::Get().LoadTranslation("$$$/K", u"loaded");
  });
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace kilncore::config
