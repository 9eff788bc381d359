#include <WF/ImportableFileTypeUtils.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace WF::ImportableFileTypeUtils;

TEST(ImportableFileTypeUtilsTest, EveryMarlFlavourIsAMarlProject) {
  EXPECT_TRUE(IsMarlProject(u"/Shows/Opening.marlp", false));
  EXPECT_TRUE(IsMarlProject(u"/Shows/Opening.marlpx", false));
  EXPECT_TRUE(IsMarlProject(u"/Shows/Lower Third.marlcap", false));
  EXPECT_TRUE(IsMarlProject(u"/Shows/Title.marlgraphic", false));
}

TEST(ImportableFileTypeUtilsTest, GraphicsTemplateOnlyAcceptsTheMotionGraphicsTemplate) {
  EXPECT_TRUE(IsMarlProject(u"/Shows/Title.marlgraphic", true));
  EXPECT_FALSE(IsMarlProject(u"/Shows/Opening.marlp", true));
  EXPECT_FALSE(IsMarlProject(u"/Shows/Lower Third.marlcap", true));
}

TEST(ImportableFileTypeUtilsTest, ExtensionsAreComparedWithoutCase) {
  EXPECT_TRUE(IsMarlProject(u"C:\\Shows\\OPENING.MARLP", false));
  EXPECT_TRUE(IsSprocketProject(u"/Scenes/Rig.SpkScene"));
  EXPECT_TRUE(IsTolmenProject(u"/Edits/Cut.TLMPROJ"));
  EXPECT_TRUE(IsFCPProject(u"/Exchange/Cut.XML"));
}

TEST(ImportableFileTypeUtilsTest, EachTestKnowsOnlyItsOwnExtensions) {
  EXPECT_TRUE(IsSprocketProject(u"/Scenes/Rig.spkscene"));
  EXPECT_TRUE(IsTolmenProject(u"/Edits/Cut.tlmproj"));
  EXPECT_TRUE(IsTolmenProject(u"/Edits/Cut.tlmprojx"));
  EXPECT_TRUE(IsFCPProject(u"/Exchange/Cut.xml"));

  EXPECT_FALSE(IsMarlProject(u"/Scenes/Rig.spkscene", false));
  EXPECT_FALSE(IsSprocketProject(u"/Shows/Opening.marlp"));
  EXPECT_FALSE(IsTolmenProject(u"/Exchange/Cut.xml"));
  EXPECT_FALSE(IsFCPProject(u"/Edits/Cut.tlmproj"));
  EXPECT_FALSE(IsMarlProject(u"/Docs/Board.esd", false));
  EXPECT_FALSE(IsMarlProject(u"/Photos/Shoot.dslcat", false));
}

TEST(ImportableFileTypeUtilsTest, TheSprocketSourceTypeProjectIsLeftToItsOwnRow) {
  // The module opens ".spkproj" with the clip's render options; were it a
  // Sprocket project here, the scene row would claim it first.
  EXPECT_FALSE(IsSprocketProject(u"/Scenes/Shot.spkproj"));
  EXPECT_FALSE(IsSprocketProject(u"/Scenes/Shot.SPKPROJ"));
  EXPECT_FALSE(IsMarlProject(u"/Scenes/Shot.spkproj", false));
  EXPECT_FALSE(IsTolmenProject(u"/Scenes/Shot.spkproj"));
  EXPECT_FALSE(IsFCPProject(u"/Scenes/Shot.spkproj"));
  EXPECT_NE(std::u16string(kSprocketProjectExtension), std::u16string(kSprocketSourceTypeProjectExtension));
}

TEST(ImportableFileTypeUtilsTest, OnlyTheWholeExtensionOfTheLastComponentCounts) {
  EXPECT_FALSE(IsMarlProject(u"/Shows/Opening.marlp.bak", false));
  EXPECT_FALSE(IsMarlProject(u"/Shows/Opening.marl", false));
  EXPECT_FALSE(IsMarlProject(u"/Shows.marlp/Opening", false));
  EXPECT_FALSE(IsMarlProject(u"/Shows/marlp", false));
  EXPECT_FALSE(IsMarlProject(u"/Shows/.marlp", false));
  EXPECT_FALSE(IsMarlProject(u"", false));
  EXPECT_FALSE(IsFCPProject(u"/Exchange/Cut.fcpxml"));
}

TEST(ImportableFileTypeUtilsTest, FileNeedNotExist) {
  EXPECT_TRUE(IsMarlProject(u"/nowhere/at/all/Missing.marlp", false));
}

}  // namespace
