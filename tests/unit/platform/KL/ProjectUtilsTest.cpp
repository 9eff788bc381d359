#include <KL/ProjectUtils.h>
#include <KL/UnifiedProject.h>

#include <WF/ImportableFileTypeUtils.h>
#include <kilncore/config/Localizer.h>
#include <kilncore/string/WideString.h>

#include <gtest/gtest.h>

namespace {

TEST(ProjectUtilsTest, ExtensionsStartWithTheirDot) {
  EXPECT_EQ(KL::ProjectUtils::kTolmenProjectExtension_Legacy[0], u'.');
  EXPECT_EQ(KL::ProjectUtils::kTolmenProjectExtension_Unified[0], u'.');
}

TEST(ProjectUtilsTest, ExtensionsAreThoseTheImporterLayerRecognises) {
  using kilncore::WideString;
  EXPECT_TRUE(WF::ImportableFileTypeUtils::IsTolmenProject(
      WideString(u"/p/Edit") + KL::ProjectUtils::kTolmenProjectExtension_Legacy));
  EXPECT_TRUE(WF::ImportableFileTypeUtils::IsTolmenProject(
      WideString(u"/p/Edit") + KL::ProjectUtils::kTolmenProjectExtension_Unified));
}

TEST(ProjectUtilsTest, FilterKeysLocaliseToTheirDefaults) {
  const auto& localizer = kilncore::config::Localizer::Get();
  EXPECT_EQ(localizer.Localize(KL::ProjectUtils::kTolmenProjectFilterKey_Legacy_Stable),
            u"Tolmen Project (*.tlmproj)");
  EXPECT_EQ(localizer.Localize(KL::ProjectUtils::kTolmenProjectFilterKey_AllProjectTypes_PlusExtensions),
            u"All Tolmen Projects (*.tlmproj, *.tlmprojx)");
}

TEST(UnifiedProjectTest, DisabledUntilTheHostEnablesIt) {
  EXPECT_FALSE(KL::UnifiedProject::IsUnifiedProjectEnabled());
  KL::UnifiedProject::SetUnifiedProjectEnabled(true);
  EXPECT_TRUE(KL::UnifiedProject::IsUnifiedProjectEnabled());
  KL::UnifiedProject::SetUnifiedProjectEnabled(false);
  EXPECT_FALSE(KL::UnifiedProject::IsUnifiedProjectEnabled());
}

}  // namespace
