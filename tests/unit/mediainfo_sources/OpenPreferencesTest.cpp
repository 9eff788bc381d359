#include "SourceCreationTestSupport.h"
#include "unit/ui/DialogTestSupport.h"

#include <TetherMedia/Prefs.h>

#include <tether/MarlRenderOptions.h>

#include <gtest/gtest.h>

#include <map>

namespace TetherMedia::testing {
namespace {

using kilncore::WideString;
using kilncore::utility::Guid;

const Guid kSourceID(u"0B5E7C2D-4A1F-4E6B-9C3D-2F8A7B6C5D4E");
constexpr const char* kPopup = "RenderGuideLayersPopup";

int32_t Open(SourceCreationItem& item, RL::BinaryData& prefs) {
  std::map<WideString, WideString> settings;
  WideString reserved;
  return item.OpenPreferences(prefs, settings, 0, nullptr, kilnmediatypes::kTickTime_Invalid, 0, reserved);
}

RL::BinaryData GuideLayerPrefs(bool guides = true) {
  // Options as the first version of the format wrote them; the rest default.
  return BuildPrefsWithApplicationSpecificRenderOptions(
      kSourceID.AsString(), guides ? u"{\"applicationID\":\"Marl\",\"version\":1,\"renderguidelayers\":true}"
                                   : u"{\"applicationID\":\"Marl\",\"version\":1,\"renderguidelayers\":false}");
}

tether::MarlRenderOptions OptionsWithGuides(bool guides) {
  tether::MarlRenderOptions options;
  options.renderGuideLayers = guides;
  return options;
}

struct MarlItem : SourceCreationItem {
  MarlItem() { SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID); }
};

TEST(OpenPreferencesTest, CancelReturnsOneAndRewritesTheBlobNormalisedWithTheSameSource) {
  ScriptedDialogs dialogs({ScriptedSupplier::Choose(kPopup, 0), ScriptedSupplier::Press("cancelButton")});
  MarlItem item;
  RL::BinaryData prefs = GuideLayerPrefs();
  EXPECT_EQ(Open(item, prefs), 1);
  ASSERT_EQ(dialogs.ShownCount(), 1u);
  EXPECT_EQ(dialogs.Shown().Control(kPopup).value, 1);
  EXPECT_EQ(PrefsToSourceID(prefs), kSourceID);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(prefs), OptionsWithGuides(true).AsString());
}

TEST(OpenPreferencesTest, OkWritesTheNewValueIntoTheBlob) {
  ScriptedDialogs dialogs({ScriptedSupplier::Choose(kPopup, 1), ScriptedSupplier::Press("okButton")});
  MarlItem item;
  RL::BinaryData prefs = GuideLayerPrefs(false);
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(dialogs.Shown().Control(kPopup).value, 0);
  EXPECT_EQ(PrefsToSourceID(prefs), kSourceID);
  tether::MarlRenderOptions read;
  ApplicationSpecificRenderOptionsToMarlRenderOptions(PrefsToApplicationSpecificRenderOptions(prefs), read);
  EXPECT_TRUE(read.renderGuideLayers);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(prefs), OptionsWithGuides(true).AsString());
}

TEST(OpenPreferencesTest, ClosedWindowCountsAsCancel) {
  ScriptedDialogs dialogs({ScriptedSupplier::Choose(kPopup, 0), ScriptedSupplier::Close()});
  MarlItem item;
  RL::BinaryData prefs = GuideLayerPrefs();
  EXPECT_EQ(Open(item, prefs), 1);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(prefs), OptionsWithGuides(true).AsString());
}

TEST(OpenPreferencesTest, ItemOfAnotherApplicationIsLeftAloneAndShowsNothing) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  SourceCreationItem item;
  item.SetIdentity(u"/Volumes/Show/Scene.spkproj", kSourceID);
  RL::BinaryData prefs = GuideLayerPrefs();
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

TEST(OpenPreferencesTest, BlobWithoutOptionsIsLeftAloneAndShowsNothing) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  MarlItem item;
  RL::BinaryData prefs = SourceIDToPrefs(kSourceID);
  ASSERT_EQ(prefs.GetSize(), 72u);
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

TEST(OpenPreferencesTest, BlobTooShortForASourceIsLeftAlone) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  MarlItem item;
  RL::BinaryData prefs = RL::BinaryData::FromString("short");
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

TEST(OpenPreferencesTest, MissingLayoutReturnsOneShowsNothingAndNormalisesTheBlob) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  ReplacedLayouts::Install({});
  MarlItem item;
  RL::BinaryData prefs = GuideLayerPrefs();
  EXPECT_EQ(Open(item, prefs), 1);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
  EXPECT_EQ(PrefsToSourceID(prefs), kSourceID);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(prefs), OptionsWithGuides(true).AsString());
}

TEST(OpenPreferencesTest, DialogThatFailsGivesItsCodeAndKeepsTheBlob) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  ReplacedLayouts::Install({{"MARLRENDERSETTINGSDIALOG",
                             "layout MarlRenderSettingsDialog { view kiln_dialog() { column() {\r\n"
                             "  kiln_button(identifier: 'RenderGuideLayersPopup') kiln_ok_cancel_row() } } }\r\n"}});
  MarlItem item;
  RL::BinaryData prefs = GuideLayerPrefs();
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), static_cast<int32_t>(0xA00F0001u));
  EXPECT_EQ(prefs, before);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

TEST(OpenPreferencesTest, OptionsThatCannotBeReadGiveAFailureAndKeepTheBlob) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  MarlItem item;
  RL::BinaryData prefs = BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(), u"{not json");
  const RL::BinaryData before = prefs;
  EXPECT_LT(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

}  // namespace
}  // namespace TetherMedia::testing
