#pragma once

#include <kilnloomfactory/loom/LoomFlavour.h>

#include <kilnui/drawbot/SupplierInterface.h>
#include <kilnui/loomcontracts/UI_ILoomView.h>
#include <kilnui/loomcontracts/UI_LoomSignalCallbackSuite.h>

#include <memory>
#include <optional>
#include <string>

namespace kilnloomfactory {

// The layout engine's view: reads a Loom layout from the view's resources,
// builds its dialog, lets the derived view set up its controls, and shows the
// dialog through the draw supplier.
//
// Derived classes override SetUpControls, usually GetResourceModule, and take
// their reference count from kilncore::utility::RefCountedObjectWithWeakPtr
// (as a virtual base). Use on the main thread.
//
//   std::stringstream layout;
//   if (view->GetScriptStream(u"MyDialog", layout)) view->ParseLoomScript(layout, false);
class UI_LoomViewBase : public kilnui::loomcontracts::UI_ILoomView,
                        public kilnui::loomcontracts::UI_LoomSignalCallbackSuite {
 public:
  // `layoutName` is the name the layout declares, `supplier` shows the dialog,
  // `parent` is the node the dialog opens over (may be null). The last two
  // arguments are options of the host's engine that this one has none of;
  // pass 0. The flavour and resource manager are LoomEngine's at this time.
  UI_LoomViewBase(std::string layoutName, std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier,
                  boost::intrusive_ptr<kilnui::ui::UI_Node> parent, int reservedA, int reservedB);
  ~UI_LoomViewBase() override;

  void DestructOnMainThread() override;
  void SetUpControls() override {}
  void Destruction() override;
  void SetupPostCloseCallback(std::function<void()> callback) override;
  void ParseLoomScript(std::stringstream& script, bool deferShowing) override;
  std::shared_ptr<kilnui::drawbot::SupplierInterface> GetDrawSupplier() const override;
  boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> GetView() const override;
  boost::intrusive_ptr<kilnui::ui::UI_Node> GetUINodePtr(const std::string& identifier,
                                                         bool required) const override;
  bool GetLayoutStream(std::stringstream& out) const override;
  bool GetScriptStream(const kilncore::WideString& name, std::stringstream& out) override;
  std::string InterpretFileName(const kilncore::WideString& name) const override;
  std::string GetFileExtension() const override;
  // The main program, unless a derived view says otherwise.
  kilnui::loomcontracts::ModuleHandle GetResourceModule() const override;
  void SetContentResourceManager(
      std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> manager) override;

  loom::LoomFlavour GetFlavour() const { return mFlavour; }
  const std::string& GetLayoutName() const { return mLayoutName; }

 private:
  void Build(const std::string& text);

  const std::string mLayoutName;
  const std::shared_ptr<kilnui::drawbot::SupplierInterface> mSupplier;
  const boost::intrusive_ptr<kilnui::ui::UI_Node> mParent;
  const loom::LoomFlavour mFlavour;
  std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> mResources;
  boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> mView;
  std::optional<std::string> mLayoutText;
};

}  // namespace kilnloomfactory
