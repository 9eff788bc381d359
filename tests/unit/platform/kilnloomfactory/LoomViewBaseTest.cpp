#include "LoomTestSupport.h"

#include <kilnloomfactory/LoomEngine.h>
#include <kilnloomfactory/UI_LoomViewBase.h>
#include <kilnloomfactory/loom/LoomSyntaxError.h>

#include <kilnui/controls/UI_Popup.h>
#include <kilnui/drawbot/ScriptedSupplier.h>

#include <kilncore/utility/RefCountedObjectWithWeakPtr.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <stdexcept>

namespace {

using kilnloomfactory::LoomEngine;
using kilnloomfactory::UI_LoomViewBase;
using kilnloomfactory::loom::LoomFlavour;
using kilnui::drawbot::ScriptedSupplier;
using kilnui::loomcontracts::ModuleHandle;

// Resources kept in memory, by name; remembers the module it was asked about.
class MemoryResources : public kilnui::loomcontracts::UI_LoomResourceManager {
 public:
  std::map<std::string, std::string> layouts;
  mutable ModuleHandle askedModule = nullptr;
  mutable std::string askedName;

  std::optional<std::string> FindResource(ModuleHandle module, std::string_view type,
                                          std::string_view name) const override {
    askedModule = module;
    askedName = name;
    const auto found = layouts.find(std::string(name));
    if (type != "LOOM" || found == layouts.end()) return std::nullopt;
    return found->second;
  }
};

const int kModuleMarker = 0;

class TestView : public UI_LoomViewBase, public virtual kilncore::utility::RefCountedObjectWithWeakPtr {
 public:
  explicit TestView(std::shared_ptr<ScriptedSupplier> supplier)
      : UI_LoomViewBase("MarlRenderSettingsDialog", std::move(supplier), nullptr, 0, 0) {}

  std::function<void(TestView&)> onSetUp;
  int setUps = 0;

  void SetUpControls() override {
    ++setUps;
    if (onSetUp) onSetUp(*this);
  }
  ModuleHandle GetResourceModule() const override { return &kModuleMarker; }
};

class LoomViewBaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mResources->layouts["MARLRENDERSETTINGSDIALOG"] = LoomTest::KilnDialogLayout();
    mResources->layouts["MARLRENDERSETTINGSDIALOG.SHED"] = LoomTest::ShedDialogLayout();
    LoomEngine::SetResourceManager(mResources);
  }
  void TearDown() override {
    LoomEngine::SetResourceManager(nullptr);
    LoomEngine::SetFlavour(LoomFlavour::kKiln);
  }

  boost::intrusive_ptr<TestView> MakeView() { return new TestView(mSupplier); }

  std::shared_ptr<MemoryResources> mResources = std::make_shared<MemoryResources>();
  std::shared_ptr<ScriptedSupplier> mSupplier = std::make_shared<ScriptedSupplier>();
};

TEST_F(LoomViewBaseTest, ScriptStreamIsTheResourceOfTheEnginesFlavourInTheViewsModule) {
  for (const LoomFlavour flavour : {LoomFlavour::kKiln, LoomFlavour::kShed}) {
    LoomEngine::SetFlavour(flavour);
    auto view = MakeView();
    std::stringstream stream;
    ASSERT_TRUE(view->GetScriptStream(u"MarlRenderSettingsDialog", stream));
    EXPECT_EQ(mResources->askedModule, &kModuleMarker);
    const bool shed = flavour == LoomFlavour::kShed;
    EXPECT_EQ(mResources->askedName, shed ? "MARLRENDERSETTINGSDIALOG.SHED" : "MARLRENDERSETTINGSDIALOG");
    EXPECT_EQ(stream.str(), shed ? LoomTest::ShedDialogLayout() : LoomTest::KilnDialogLayout());
    EXPECT_EQ(view->GetFileExtension(), shed ? ".SHED" : "");
  }
}

TEST_F(LoomViewBaseTest, MissingResourceGivesFalseAndAnEmptyStream) {
  mResources->layouts.clear();
  auto view = MakeView();
  std::stringstream stream;
  EXPECT_FALSE(view->GetScriptStream(u"MarlRenderSettingsDialog", stream));
  EXPECT_TRUE(stream.str().empty());
}

TEST_F(LoomViewBaseTest, ContentResourceManagerOfTheViewComesFirst) {
  auto own = std::make_shared<MemoryResources>();
  auto view = MakeView();
  view->SetContentResourceManager(own);
  std::stringstream stream;
  EXPECT_FALSE(view->GetScriptStream(u"MarlRenderSettingsDialog", stream));
  EXPECT_EQ(own->askedName, "MARLRENDERSETTINGSDIALOG");
}

TEST_F(LoomViewBaseTest, ParseLoomScriptSetsUpTheControlsThenShowsTheDialogModally) {
  for (const LoomFlavour flavour : {LoomFlavour::kKiln, LoomFlavour::kShed}) {
    LoomEngine::SetFlavour(flavour);
    auto view = MakeView();
    const size_t shownBefore = mSupplier->GetShownDialogs().size();
    int closes = 0;
    view->SetupPostCloseCallback([&] { ++closes; });
    view->onSetUp = [&](TestView& self) {
      ASSERT_NE(self.GetView(), nullptr);
      EXPECT_EQ(self.GetView()->GetLayoutName(), "MarlRenderSettingsDialog");
      auto popup = kilnui::ui::NodeCast<kilnui::controls::UI_Popup>(self.GetUINodePtr("RenderGuideLayersPopup", true));
      ASSERT_NE(popup, nullptr);
      EXPECT_EQ(popup->GetItems().size(), 2u);
      EXPECT_NE(self.GetUINodePtr("okButton", false), nullptr);
      EXPECT_EQ(self.GetUINodePtr("applyButton", false), nullptr);
      EXPECT_EQ(mSupplier->GetShownDialogs().size(), shownBefore) << "set up before it shows";
    };
    std::stringstream stream;
    ASSERT_TRUE(view->GetScriptStream(u"MarlRenderSettingsDialog", stream));
    view->ParseLoomScript(stream, false);
    EXPECT_EQ(view->setUps, 1);
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(view->GetView(), nullptr) << "the controls go when the window closes";
    std::stringstream layout;
    ASSERT_TRUE(view->GetLayoutStream(layout));
    EXPECT_EQ(layout.str(), stream.str());
  }
  ASSERT_EQ(mSupplier->GetShownDialogs().size(), 2u);
  EXPECT_EQ(mSupplier->GetShownDialogs()[1].title, "Marl Composition Render Settings");
  EXPECT_EQ(mSupplier->GetShownDialogs()[1].Control("RenderGuideLayersPopup").items,
            (std::vector<std::string>{"Off", "On"}));
}

TEST_F(LoomViewBaseTest, DeferredShowingBuildsWithoutShowing) {
  auto view = MakeView();
  std::stringstream stream(LoomTest::KilnDialogLayout());
  view->ParseLoomScript(stream, true);
  EXPECT_EQ(view->setUps, 1);
  EXPECT_NE(view->GetView(), nullptr);
  EXPECT_TRUE(mSupplier->GetShownDialogs().empty());
}

TEST_F(LoomViewBaseTest, RequiredNodeThatIsMissingThrows) {
  auto view = MakeView();
  std::stringstream stream(LoomTest::KilnDialogLayout());
  view->ParseLoomScript(stream, true);
  EXPECT_THROW(view->GetUINodePtr("applyButton", true), kilncore::config::kiln_exception);
}

TEST_F(LoomViewBaseTest, LayoutThatCantBeReadIsNeitherSetUpNorShown) {
  auto view = MakeView();
  std::stringstream stream("layout MarlRenderSettingsDialog { view kiln_dialog( }");
  EXPECT_THROW(view->ParseLoomScript(stream, false), kilnloomfactory::loom::LoomSyntaxError);
  EXPECT_EQ(view->setUps, 0);
  EXPECT_TRUE(mSupplier->GetShownDialogs().empty());
}

TEST_F(LoomViewBaseTest, LayoutOfAnotherNameIsRefused) {
  auto view = MakeView();
  std::stringstream stream("layout Other { view kiln_dialog() }");
  EXPECT_THROW(view->ParseLoomScript(stream, false), kilncore::config::kiln_exception);
  EXPECT_EQ(view->setUps, 0);
}

TEST_F(LoomViewBaseTest, FailedSetUpShowsNothingAndLetsGoOfTheControls) {
  auto view = MakeView();
  view->onSetUp = [](TestView&) { throw std::runtime_error("cannot"); };
  std::stringstream stream(LoomTest::KilnDialogLayout());
  EXPECT_THROW(view->ParseLoomScript(stream, false), std::runtime_error);
  EXPECT_TRUE(mSupplier->GetShownDialogs().empty());
  EXPECT_EQ(view->GetView(), nullptr);
}

}  // namespace
