#include "SourceCreationTestSupport.h"

#include <TetherMedia/Prefs.h>

#include <tether/MarlRenderOptions.h>

#include <gtest/gtest.h>

#include <map>

namespace TetherMedia::testing {
namespace {

using kilncore::WideString;
using kilncore::utility::Guid;

const Guid kSourceID(u"0B5E7C2D-4A1F-4E6B-9C3D-2F8A7B6C5D4E");

int32_t Open(SourceCreationItem& item, RL::BinaryData& prefs) {
  std::map<WideString, WideString> settings;
  WideString reserved;
  return item.OpenPreferences(prefs, settings, 0, nullptr, kilnmediatypes::kTickTime_Invalid, 0, reserved);
}

RL::BinaryData GuideLayerPrefs() {
  // Options as the first version of the format wrote them; the rest default.
  return BuildPrefsWithApplicationSpecificRenderOptions(
      kSourceID.AsString(), u"{\"applicationID\":\"Marl\",\"version\":1,\"renderguidelayers\":true}");
}

TEST(OpenPreferencesTest, MarlItemAnswersAsADialogClosedWithoutOK) {
  SourceCreationItem item;
  item.SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  RL::BinaryData prefs = GuideLayerPrefs();
  EXPECT_EQ(Open(item, prefs), 1);

  // The blob comes back whole and normalised: same source, same options, in
  // the current form.
  EXPECT_EQ(PrefsToSourceID(prefs), kSourceID);
  tether::MarlRenderOptions expected;
  expected.renderGuideLayers = true;
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(prefs), expected.AsString());
}

TEST(OpenPreferencesTest, ItemOfAnotherApplicationIsLeftAlone) {
  SourceCreationItem item;
  item.SetIdentity(u"/Volumes/Show/Scene.spkproj", kSourceID);
  RL::BinaryData prefs = GuideLayerPrefs();
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
}

TEST(OpenPreferencesTest, BlobWithoutOptionsIsLeftAlone) {
  SourceCreationItem item;
  item.SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  RL::BinaryData prefs = SourceIDToPrefs(kSourceID);
  ASSERT_EQ(prefs.GetSize(), 72u);
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
}

TEST(OpenPreferencesTest, BlobTooShortForASourceIsLeftAlone) {
  SourceCreationItem item;
  item.SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  RL::BinaryData prefs = RL::BinaryData::FromString("short");
  const RL::BinaryData before = prefs;
  EXPECT_EQ(Open(item, prefs), 0);
  EXPECT_EQ(prefs, before);
}

}  // namespace
}  // namespace TetherMedia::testing
