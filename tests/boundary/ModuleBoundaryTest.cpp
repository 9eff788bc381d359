// Values that cross between the host's libraries and the module inside a
// std::any must survive the module's hidden visibility: JSON values are built
// by kilncore and read by the module, and records built by the module are read
// by the host.

#include <TetherMedia/Prefs.h>

#include <kilncore/serialization/JSONParse.h>
#include <kilncore/utility/Guid.h>
#include <tether/MarlRenderOptions.h>

#include <gtest/gtest.h>

#include <any>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace {

TEST(ModuleBoundaryTest, ModuleReadsJSONValuesThatTheHostLibraryBuilt) {
  tether::MarlRenderOptions options;
  TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(
      u"{\"applicationID\":\"Marl\",\"version\":11,\"renderguidelayers\":true,"
      u"\"artisanQuality\":7,\"flatArtisanOptions\":[1,2,300],\"stretchFactor\":2.5,"
      u"\"stretchOffset\":-40,\"downSampleX\":2,\"downSampleY\":4}",
      options);
  EXPECT_TRUE(options.renderGuideLayers);
  EXPECT_EQ(options.artisanQuality, 7u);
  EXPECT_EQ(options.GetFlatArtisanOptions(), (std::vector<uint8_t>{1, 2, 44}));
  EXPECT_DOUBLE_EQ(options.stretchFactor, 2.5);
  EXPECT_EQ(options.GetStretchOffset(), -40);
  EXPECT_EQ(options.downSampleX, 2u);
  EXPECT_EQ(options.downSampleY, 4u);
}

TEST(ModuleBoundaryTest, TypeErrorsInsideTheModuleReachTheHostAsBadAnyCast) {
  tether::MarlRenderOptions options;
  EXPECT_THROW(TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(
                   u"{\"applicationID\":\"Marl\",\"version\":1,\"renderguidelayers\":\"TRUE\"}",
                   options),
               std::bad_any_cast);
  EXPECT_THROW(TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(u"{", options),
               std::runtime_error);
}

TEST(ModuleBoundaryTest, HostReadsValuesOfTheHostLibraryInAnyAsTheModuleDoes) {
  const auto root = kilncore::serialization::JSONParse(u"{\"n\":5,\"s\":\"text\"}");
  ASSERT_TRUE(root);
  const auto& object = std::any_cast<const kilncore::serialization::JSONObject&>(*root);
  EXPECT_EQ(std::any_cast<uint64_t>(*object.at("n")), 5u);
  EXPECT_EQ(std::any_cast<std::string>(*object.at("s")), "text");
}

TEST(ModuleBoundaryTest, PrefsBlobMadeByTheModuleReadsBackThroughTheExportedAPI) {
  const auto id = kilncore::utility::Guid::CreateUnique();
  const RL::BinaryData prefs = TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(
      id.AsString(), u"{\"applicationID\":\"Marl\"}");
  EXPECT_EQ(TetherMedia::PrefsToSourceID(prefs), id);
  EXPECT_EQ(TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs),
            u"{\"applicationID\":\"Marl\"}");
}

}  // namespace
