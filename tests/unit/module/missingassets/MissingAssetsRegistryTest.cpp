#include <TetherMedia/MissingAssets.h>
#include <module/MissingAssetsRegistry.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kilncore::WideString;
using tether::MissingAssets;
using tether::MissingFont;

MissingFont Font(const std::string& family, const std::string& style, const std::string& detail = "",
                 int32_t value = 0) {
  return MissingFont{family, style, detail, detail + ".otf", value};
}

MissingAssets FontsReport(std::vector<MissingFont> fonts) {
  MissingAssets assets;
  assets.fonts = std::move(fonts);
  return assets;
}

class MissingAssetsRegistryTest : public ::testing::Test {
 protected:
  void SetUp() override { TetherMedia::ResetMissingFonts(); }
  void TearDown() override { TetherMedia::ResetMissingFonts(); }
};

TEST_F(MissingAssetsRegistryTest, EmptyRegistryHasNoMissingFonts) {
  EXPECT_TRUE(TetherMedia::GetMissingFonts().empty());
}

TEST_F(MissingAssetsRegistryTest, SameFontFromTwoPathsIsReportedOnce) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/a.marlp");
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/b.marlp");
  EXPECT_EQ(TetherMedia::GetMissingFonts(), std::vector<MissingFont>{Font("Gill", "Bold")});
}

TEST_F(MissingAssetsRegistryTest, DuplicateWithinFirstPathsListStays) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold"), Font("Gill", "Bold")}), u"/a");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("Gill", "Bold"), Font("Gill", "Bold")}));
}

TEST_F(MissingAssetsRegistryTest, DuplicateWithinLaterPathsListComesBackOnce) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Futura", "Book")}), u"/a");
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold"), Font("Gill", "Bold")}), u"/b");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("Futura", "Book"), Font("Gill", "Bold")}));
}

TEST_F(MissingAssetsRegistryTest, FontsEqualInIdentityAButNotIdentityBAreBothKept) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/a");
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Italic")}), u"/b");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("Gill", "Bold"), Font("Gill", "Italic")}));
}

TEST_F(MissingAssetsRegistryTest, FontIdentityIsCaseSensitive) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/a");
  TetherMedia::AddMissingAssets(FontsReport({Font("gill", "Bold"), Font("Gill", "bold")}), u"/b");
  EXPECT_EQ(TetherMedia::GetMissingFonts().size(), 3u);
}

TEST_F(MissingAssetsRegistryTest, SecondReportForAPathChangesNothing) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/a");
  MissingAssets second = FontsReport({Font("Futura", "Book"), Font("Helvetica", "Regular")});
  second.effects = {"Glow"};
  TetherMedia::AddMissingAssets(second, u"/a");
  EXPECT_EQ(TetherMedia::GetMissingFonts(), std::vector<MissingFont>{Font("Gill", "Bold")});
  ASSERT_EQ(TetherMedia::gMissingAssetsByProject.size(), 1u);
  EXPECT_TRUE(TetherMedia::gMissingAssetsByProject.at(u"/a").effects.empty());
}

TEST_F(MissingAssetsRegistryTest, PathsDifferingInCaseAreDifferentEntries) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/Project/a.marlp");
  TetherMedia::AddMissingAssets(FontsReport({Font("Futura", "Book")}), u"/project/a.marlp");
  EXPECT_EQ(TetherMedia::gMissingAssetsByProject.size(), 2u);
  EXPECT_EQ(TetherMedia::GetMissingFonts().size(), 2u);
}

TEST_F(MissingAssetsRegistryTest, ReportWithoutFontsIsDroppedWhole) {
  MissingAssets noFonts;
  noFonts.effects = {"Glow"};
  noFonts.files = {u"/footage/clip.mov"};
  TetherMedia::AddMissingAssets(noFonts, u"/a");
  EXPECT_TRUE(TetherMedia::gMissingAssetsByProject.empty());
  // Nothing was kept for the path, so a later report with fonts is taken.
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/a");
  EXPECT_EQ(TetherMedia::GetMissingFonts(), std::vector<MissingFont>{Font("Gill", "Bold")});
}

TEST_F(MissingAssetsRegistryTest, ReportIsStoredWithAllThreeLists) {
  MissingAssets report = FontsReport({Font("Gill", "Bold", "Gill Sans Bold", 2)});
  report.effects = {"Glow", "Blur"};
  report.files = {u"/footage/\u00E9t\u00E9.mov"};
  TetherMedia::AddMissingAssets(report, u"/a");
  EXPECT_EQ(TetherMedia::gMissingAssetsByProject.at(u"/a"), report);
}

TEST_F(MissingAssetsRegistryTest, FirstAppearanceKeepsItsPlaceAndDetails) {
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold", "first", 1)}), u"/a");
  TetherMedia::AddMissingAssets(
      FontsReport({Font("Futura", "Book", "x", 3), Font("Gill", "Bold", "second", 2)}), u"/b");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("Gill", "Bold", "first", 1), Font("Futura", "Book", "x", 3)}));
}

TEST_F(MissingAssetsRegistryTest, EntriesAreVisitedInPathOrderNotInsertionOrder) {
  TetherMedia::AddMissingAssets(FontsReport({Font("B", "x", "from b")}), u"/b");
  TetherMedia::AddMissingAssets(FontsReport({Font("A", "x"), Font("B", "x", "from a")}), u"/a");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("A", "x"), Font("B", "x", "from a")}));
}

TEST_F(MissingAssetsRegistryTest, PathsAreOrderedByUtf16CodeUnits) {
  // U+1F600 is above U+FF5E as a code point, but its first UTF-16 unit (0xD83D)
  // is below 0xFF5E, so its path comes first.
  TetherMedia::AddMissingAssets(FontsReport({Font("Wide", "x")}), u"/\uFF5E");
  TetherMedia::AddMissingAssets(FontsReport({Font("Emoji", "x")}), u"/\U0001F600");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("Emoji", "x"), Font("Wide", "x")}));
  // Units compare unsigned: 0xE9 sorts after every ASCII character.
  TetherMedia::ResetMissingFonts();
  TetherMedia::AddMissingAssets(FontsReport({Font("Accent", "x")}), u"/\u00E9");
  TetherMedia::AddMissingAssets(FontsReport({Font("Zed", "x")}), u"/z");
  EXPECT_EQ(TetherMedia::GetMissingFonts(),
            (std::vector<MissingFont>{Font("Zed", "x"), Font("Accent", "x")}));
}

TEST_F(MissingAssetsRegistryTest, ResetForgetsEveryListAndLetsThePathReportAgain) {
  MissingAssets report = FontsReport({Font("Gill", "Bold")});
  report.effects = {"Glow"};
  report.files = {u"/footage/clip.mov"};
  TetherMedia::AddMissingAssets(report, u"/a");
  TetherMedia::ResetMissingFonts();
  EXPECT_TRUE(TetherMedia::gMissingAssetsByProject.empty());
  EXPECT_TRUE(TetherMedia::GetMissingFonts().empty());
  TetherMedia::AddMissingAssets(FontsReport({Font("Futura", "Book")}), u"/a");
  EXPECT_EQ(TetherMedia::GetMissingFonts(), std::vector<MissingFont>{Font("Futura", "Book")});
}

TEST_F(MissingAssetsRegistryTest, RegistryMayBeUsedWhileItsLockIsHeldByTheSameThread) {
  kilncore::threads::ScopedRecursiveLock lock(TetherMedia::gMissingAssetsMutex);
  TetherMedia::AddMissingAssets(FontsReport({Font("Gill", "Bold")}), u"/a");
  EXPECT_EQ(TetherMedia::GetMissingFonts().size(), 1u);
}

TEST(MergeMissingFontsTest, AppendsOnlyUnknownFontsInOrder) {
  std::vector<MissingFont> result{Font("A", "1", "kept", 5)};
  TetherMedia::MergeMissingFonts(
      result, {Font("B", "1"), Font("A", "1", "dropped", 9), Font("A", "2"), Font("B", "1", "again")});
  EXPECT_EQ(result, (std::vector<MissingFont>{Font("A", "1", "kept", 5), Font("B", "1"), Font("A", "2")}));
}

TEST(MergeMissingFontsTest, MergingIntoEmptyResultRemovesDuplicates) {
  std::vector<MissingFont> result;
  TetherMedia::MergeMissingFonts(result, {Font("A", "1"), Font("A", "1", "other")});
  EXPECT_EQ(result, std::vector<MissingFont>{Font("A", "1")});
}

}  // namespace
