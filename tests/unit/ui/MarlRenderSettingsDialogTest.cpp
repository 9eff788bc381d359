#include "DialogTestSupport.h"
#include "unit/platform/kilnloomfactory/LoomTestSupport.h"

#include <ui/MarlRenderSettingsDialog.h>

#include <kilnloomfactory/ModuleResources.h>
#include <kilnloomfactory/loom/LoomSyntaxError.h>
#include <kilnui/controls/UI_Popup.h>

#include <kilncore/config/Localizer.h>
#include <kilncore/config/ThrowError.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <sstream>

namespace TetherMedia::testing {
namespace {

using kilnloomfactory::loom::LoomFlavour;

constexpr const char* kPopup = "RenderGuideLayersPopup";

tether::MarlRenderOptions SomeOptions(bool guides) {
  tether::MarlRenderOptions options;
  options.renderGuideLayers = guides;
  options.artisanQuality = 7;
  options.downSampleX = 2;
  return options;
}

// Every behaviour holds in both flavours of the layout engine.
class MarlRenderSettingsDialogTest : public ::testing::TestWithParam<LoomFlavour> {
 protected:
  std::vector<ScriptedSupplier::Step> Script(std::vector<ScriptedSupplier::Step> steps) { return steps; }
};

INSTANTIATE_TEST_SUITE_P(BothFlavours, MarlRenderSettingsDialogTest,
                         ::testing::Values(LoomFlavour::kKiln, LoomFlavour::kShed),
                         [](const auto& info) { return std::string(kilnloomfactory::loom::FlavourName(info.param)); });

TEST_P(MarlRenderSettingsDialogTest, GuideLayersOnShowThePopupOnItsSecondItem) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("cancelButton")}, GetParam());
  tether::MarlRenderOptions options = SomeOptions(true);
  ShowMarlRenderSettingsDialog(options);
  ASSERT_EQ(dialogs.ShownCount(), 1u);
  EXPECT_EQ(dialogs.Shown().Control(kPopup).value, 1);

  options.renderGuideLayers = false;
  ShowMarlRenderSettingsDialog(options);
  EXPECT_EQ(dialogs.Shown(1).Control(kPopup).value, 0);
}

TEST_P(MarlRenderSettingsDialogTest, DialogShowsTheLocalisedTextsOverTheMainWindow) {
  ScriptedDialogs dialogs({}, GetParam());
  tether::MarlRenderOptions options;
  ShowMarlRenderSettingsDialog(options);
  const auto& shown = dialogs.Shown();
  EXPECT_EQ(shown.title, "Marl Composition Render Settings");
  EXPECT_TRUE(shown.hasParent);
  EXPECT_EQ(shown.Control(kPopup).text, "Guide Layers: ");
  EXPECT_EQ(shown.Control(kPopup).items, (std::vector<std::string>{"Off", "On"}));
  EXPECT_TRUE(shown.Control("okButton").isDefault);
  EXPECT_FALSE(shown.Control("cancelButton").isDefault);

  kilncore::config::Localizer::Get().LoadTranslation(
      "$$$/Tether/TetherMedia/TetherSource/MarlRenderSettingsDialog/RenderGuideLayers/PopupItemOn", u"Ein");
  ShowMarlRenderSettingsDialog(options);
  kilncore::config::Localizer::Get().ClearTranslations();
  EXPECT_EQ(dialogs.Shown(1).Control(kPopup).items, (std::vector<std::string>{"Off", "Ein"}));
}

TEST_P(MarlRenderSettingsDialogTest, ChangingThePopupAndPressingCancelLeavesTheOptionsUnchanged) {
  ScriptedDialogs dialogs({ScriptedSupplier::Choose(kPopup, 1), ScriptedSupplier::Press("cancelButton")}, GetParam());
  tether::MarlRenderOptions options = SomeOptions(false);
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 1);
  EXPECT_EQ(options.AsString(), SomeOptions(false).AsString());
  EXPECT_EQ(dialogs.supplier->GetRemainingSteps(), 0u);
}

TEST_P(MarlRenderSettingsDialogTest, PressingOkWithNoChangeReturnsTheUnchangedCopy) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")}, GetParam());
  tether::MarlRenderOptions options = SomeOptions(true);
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 0);
  EXPECT_EQ(options.AsString(), SomeOptions(true).AsString());
}

TEST_P(MarlRenderSettingsDialogTest, PressingOkAfterAChangeReturnsTheNewValue) {
  ScriptedDialogs dialogs({ScriptedSupplier::Choose(kPopup, 1), ScriptedSupplier::Press("okButton")}, GetParam());
  tether::MarlRenderOptions options = SomeOptions(false);
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 0);
  EXPECT_EQ(options.AsString(), SomeOptions(true).AsString()) << "only the guide layers change";

  // Back and forth: the last choice counts.
  ScriptedDialogs again({ScriptedSupplier::Choose(kPopup, 0), ScriptedSupplier::Choose(kPopup, 1),
                         ScriptedSupplier::Choose(kPopup, 0), ScriptedSupplier::Press("okButton")},
                        GetParam());
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 0);
  EXPECT_FALSE(options.renderGuideLayers);
}

TEST_P(MarlRenderSettingsDialogTest, ClosingTheWindowCountsAsCancel) {
  ScriptedDialogs dialogs({ScriptedSupplier::Choose(kPopup, 1), ScriptedSupplier::Close()}, GetParam());
  tether::MarlRenderOptions options = SomeOptions(false);
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 1);
  EXPECT_FALSE(options.renderGuideLayers);
}

TEST_P(MarlRenderSettingsDialogTest, MissingLayoutReturnsOneAndShowsNothing) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")}, GetParam());
  ReplacedLayouts::Install({});
  tether::MarlRenderOptions options = SomeOptions(true);
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 1);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
  EXPECT_EQ(options.AsString(), SomeOptions(true).AsString());
}

TEST_P(MarlRenderSettingsDialogTest, NothingToShowWithReturnsOne) {
  ScriptedDialogs dialogs({}, GetParam());
  kilnworkspace::workspace::WorkspaceUtils::SetMainTopLevelWindow(std::make_shared<kilnworkspace::workspace::TopLevelWindow>(
      "Main", std::make_shared<kilnworkspace::workspace::Workspace>(nullptr)));
  tether::MarlRenderOptions options = SomeOptions(true);
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 1);
  EXPECT_TRUE(options.renderGuideLayers);
}

TEST(MarlRenderSettingsDialogLayoutTest, GuideLayersControlThatIsNotAPopupIsAnInvalidTypeConversion) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  ReplacedLayouts::Install({{"MARLRENDERSETTINGSDIALOG",
                             "layout MarlRenderSettingsDialog { view kiln_dialog(name: 'T') { column() {\r\n"
                             "  kiln_button(name: 'Guides', identifier: 'RenderGuideLayersPopup')\r\n"
                             "  kiln_ok_cancel_row() } } }\r\n"}});
  tether::MarlRenderOptions options = SomeOptions(true);
  try {
    ShowMarlRenderSettingsDialog(options);
    ADD_FAILURE() << "no error";
  } catch (const kilncore::config::KilnError& error) {
    EXPECT_EQ(error.GetLevel(), 1);
    EXPECT_EQ(error.GetKey(), "$$$/kilncore/utility/Error/InvalidTypeConversion=Invalid type conversion.");
    EXPECT_STREQ(error.what(), "Invalid type conversion.");
    EXPECT_EQ(error.GetCode(), static_cast<int32_t>(0xA00F0001u));
  }
  EXPECT_EQ(dialogs.ShownCount(), 0u);
  EXPECT_TRUE(options.renderGuideLayers);
}

TEST(MarlRenderSettingsDialogLayoutTest, LayoutWithoutTheGuideLayersControlIsRefused) {
  ScriptedDialogs dialogs;
  ReplacedLayouts::Install({{"MARLRENDERSETTINGSDIALOG",
                             "layout MarlRenderSettingsDialog { view kiln_dialog() { kiln_ok_cancel_row() } }"}});
  tether::MarlRenderOptions options;
  EXPECT_THROW(ShowMarlRenderSettingsDialog(options), kilncore::config::kiln_exception);
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

TEST(MarlRenderSettingsDialogLayoutTest, LayoutThatCannotBeReadIsRefusedWithItsPlace) {
  ScriptedDialogs dialogs;
  ReplacedLayouts::Install({{"MARLRENDERSETTINGSDIALOG", "layout MarlRenderSettingsDialog {\r\n view kiln_dialog(\r\n"}});
  tether::MarlRenderOptions options;
  try {
    ShowMarlRenderSettingsDialog(options);
    ADD_FAILURE() << "no error";
  } catch (const kilnloomfactory::loom::LoomSyntaxError& error) {
    EXPECT_EQ(error.GetLine(), 3);
  }
  EXPECT_EQ(dialogs.ShownCount(), 0u);
}

TEST(MarlRenderSettingsDialogLayoutTest, OtherLayoutWithTheSameControlsWorks) {
  // More controls, other texts, no Cancel button: the class needs only its
  // popup and finds the rest by identifier.
  ScriptedDialogs dialogs({ScriptedSupplier::Press("help"), ScriptedSupplier::Choose(kPopup, 2),
                           ScriptedSupplier::Press("okButton")});
  ReplacedLayouts::Install({{"MARLRENDERSETTINGSDIALOG",
                             "layout MarlRenderSettingsDialog { view kiln_dialog(name: 'Settings') { row(spacing: 4) {\r\n"
                             "  kiln_static_text(name: 'Render')\r\n"
                             "  kiln_popup(label: 'Guides', identifier: 'RenderGuideLayersPopup') {\r\n"
                             "    kiln_popup_item(name: 'Off') kiln_popup_item(name: 'On') kiln_popup_item(name: 'Also on') }\r\n"
                             "  kiln_button(name: 'Help', identifier: 'help')\r\n"
                             "  kiln_button(name: 'Done', identifier: 'okButton') } } }\r\n"}});
  tether::MarlRenderOptions options;
  EXPECT_EQ(ShowMarlRenderSettingsDialog(options), 0);
  EXPECT_TRUE(options.renderGuideLayers);
  EXPECT_EQ(dialogs.Shown().controls.size(), 4u);
}

TEST(MarlRenderSettingsDialogLifeTest, MessageAfterTheDialogHasGoneDoesNothing) {
  ScriptedDialogs dialogs({ScriptedSupplier::Press("okButton")});
  tether::MarlRenderOptions options = SomeOptions(false);
  ASSERT_EQ(ShowMarlRenderSettingsDialog(options), 0);
  // The supplier still holds the controls; the dialog object is gone. Changes
  // and presses arriving now reach handlers whose dialog has been released.
  auto popup = kilnui::ui::NodeCast<kilnui::controls::UI_Popup>(
      boost::intrusive_ptr<kilnui::ui::UI_Node>(dialogs.supplier->GetLastDialog()->FindNode(kPopup)));
  ASSERT_NE(popup, nullptr);
  popup->Choose(1);
  kilnui::ui::NodeCast<kilnui::controls::UI_Button>(
      boost::intrusive_ptr<kilnui::ui::UI_Node>(dialogs.supplier->GetLastDialog()->FindNode("cancelButton")))->Press();
  EXPECT_FALSE(options.renderGuideLayers);
}

TEST(MarlRenderSettingsDialogLifeTest, HandlersBoundWhileTheDialogLivesReachIt) {
  ScriptedDialogs dialogs;
  boost::intrusive_ptr<MarlRenderSettingsDialog> dialog(
      new MarlRenderSettingsDialog(dialogs.supplier, nullptr, SomeOptions(false)));
  std::stringstream stream;
  ASSERT_TRUE(dialog->GetScriptStream(u"MarlRenderSettingsDialog", stream));
  dialog->ParseLoomScript(stream, true);
  EXPECT_TRUE(dialog->IsCancelled());
  auto popup = kilnui::ui::NodeCast<kilnui::controls::UI_Popup>(dialog->GetUINodePtr(kPopup, true));
  popup->Choose(1);
  EXPECT_TRUE(dialog->GetOptions().renderGuideLayers);
  kilnui::ui::NodeCast<kilnui::controls::UI_Button>(dialog->GetUINodePtr("okButton", true))->Press();
  EXPECT_FALSE(dialog->IsCancelled());
  kilnui::ui::NodeCast<kilnui::controls::UI_Button>(dialog->GetUINodePtr("cancelButton", true))->Press();
  EXPECT_TRUE(dialog->IsCancelled());
  EXPECT_EQ(dialog->GetUseCount(), 1);
}

TEST(MarlRenderSettingsDialogResourcesTest, LayoutsAreReadFromTheModuleThatHoldsTheClass) {
  ScriptedDialogs dialogs;
  boost::intrusive_ptr<MarlRenderSettingsDialog> dialog(new MarlRenderSettingsDialog(dialogs.supplier, nullptr, {}));
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<const void*>(&ShowMarlRenderSettingsDialog), &info), 0);
  EXPECT_EQ(dialog->GetResourceModule(), info.dli_fbase);
  const kilnloomfactory::ModuleResources resources;
  EXPECT_EQ(resources.FindResource(dialog->GetResourceModule(), "LOOM", "MARLRENDERSETTINGSDIALOG"),
            LoomTest::KilnDialogLayout());
  EXPECT_EQ(resources.FindResource(dialog->GetResourceModule(), "LOOM", "MARLRENDERSETTINGSDIALOG.SHED"),
            LoomTest::ShedDialogLayout());
}

TEST(MarlRenderSettingsDialogResourcesTest, SharedModuleCarriesBothLayouts) {
  // The module as a host loads it: its layouts travel inside the library. It
  // is built beside the platform's libraries; its path is named in full, as a
  // sanitizer's dlopen doesn't search this program's run path.
  Dl_info platform{};
  ASSERT_NE(dladdr(reinterpret_cast<const void*>(&kilncore::config::Localizer::Get), &platform), 0);
  const std::string folder = std::string(platform.dli_fname).substr(0, std::string(platform.dli_fname).rfind('/'));
  void* module = dlopen((folder + "/libTetherMedia.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  void* entry = dlsym(module, "_ZN11TetherMedia10InitializeEv");
  ASSERT_NE(entry, nullptr) << dlerror();
  const kilnloomfactory::ModuleResources resources;
  EXPECT_EQ(resources.FindResource(entry, "LOOM", "MARLRENDERSETTINGSDIALOG"),
            LoomTest::KilnDialogLayout());
  EXPECT_EQ(resources.FindResource(entry, "LOOM", "MARLRENDERSETTINGSDIALOG.SHED"),
            LoomTest::ShedDialogLayout());
  dlclose(module);
}

}  // namespace
}  // namespace TetherMedia::testing
