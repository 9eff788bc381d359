#include <ui/MarlRenderSettingsDialog.h>

#include <kilnui/controls/UI_Button.h>
#include <kilnui/ui/BindMessageFunction.h>
#include <kilnworkspace/workspace/WorkspaceUtils.h>

#include <kilncore/config/ThrowError.h>
#include <kilncore/debug/TraceSite.h>

#include <dlfcn.h>

#include <sstream>

// The layouts, as resources of whichever module this code is linked into.
#include <ui/MarlRenderSettingsDialogLayouts.inc>

namespace TetherMedia {
namespace {

using kilnui::controls::UI_Button;
using kilnui::controls::UI_ControlChangedMessage;
using kilnui::controls::UI_Popup;
using kilnui::ui::BindMessageFunction;
using kilnui::ui::NodeCast;

constexpr const char* kGuideLayersPopup = "RenderGuideLayersPopup";
constexpr int kGuideLayersOff = 0;
constexpr int kGuideLayersOn = 1;
constexpr kilncore::config::ErrorLevel kErrorLevel = 1;
constexpr const char* kInvalidTypeConversion =
    "$$$/kilncore/utility/Error/InvalidTypeConversion=Invalid type conversion.";
constexpr int kCancelled = 1;

void TraceDialog(const char* text) {
  static kilncore::debug::TraceSite site("TetherMedia", 6);
  if (site.Enabled()) site.Write(text);
}

}  // namespace

MarlRenderSettingsDialog::MarlRenderSettingsDialog(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier,
                                                   boost::intrusive_ptr<kilnui::ui::UI_Node> parent,
                                                   const tether::MarlRenderOptions& options)
    : UI_LoomViewBase(kLayoutName, std::move(supplier), std::move(parent), 0, 0), mOptions(options) {}

MarlRenderSettingsDialog::~MarlRenderSettingsDialog() = default;

void MarlRenderSettingsDialog::SetUpControls() {
  mDialog = GetView();
  const auto cancelButton = NodeCast<UI_Button>(GetUINodePtr("cancelButton", false));
  const auto okButton = NodeCast<UI_Button>(GetUINodePtr("okButton", false));
  // Setting the OK button also makes it the default one, which Return presses.
  if (okButton) mDialog->SetOkButton(okButton);
  if (cancelButton) mDialog->SetCancelButton(cancelButton);

  const kilncore::utility::WeakObjectPtr<MarlRenderSettingsDialog> self(this);
  if (cancelButton) {
    cancelButton->NotifyWhenChanged(
        BindMessageFunction<UI_ControlChangedMessage>(self, &MarlRenderSettingsDialog::OnCancelPressed));
  }
  if (okButton) {
    okButton->NotifyWhenChanged(
        BindMessageFunction<UI_ControlChangedMessage>(self, &MarlRenderSettingsDialog::OnOkPressed));
  }

  const auto node = GetUINodePtr(kGuideLayersPopup, true);
  mGuideLayersPopup = NodeCast<UI_Popup>(node);
  if (node && !mGuideLayersPopup) kilncore::config::ThrowError(kErrorLevel, kInvalidTypeConversion);
  mGuideLayersPopup->NotifyWhenChanged(
      BindMessageFunction<UI_ControlChangedMessage>(self, &MarlRenderSettingsDialog::OnGuideLayersChanged));
  mGuideLayersPopup->SetValue(mOptions.renderGuideLayers ? kGuideLayersOn : kGuideLayersOff);
}

kilnui::loomcontracts::ModuleHandle MarlRenderSettingsDialog::GetResourceModule() const {
  // dladdr only looks the address up in the loader's list: the module is
  // neither opened again nor its reference count changed.
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&ShowMarlRenderSettingsDialog), &info) == 0) return nullptr;
  return info.dli_fbase;
}

void MarlRenderSettingsDialog::OnCancelPressed(const UI_ControlChangedMessage& /*message*/) { mCancelled = true; }

void MarlRenderSettingsDialog::OnOkPressed(const UI_ControlChangedMessage& /*message*/) { mCancelled = false; }

void MarlRenderSettingsDialog::OnGuideLayersChanged(const UI_ControlChangedMessage& /*message*/) {
  mOptions.renderGuideLayers = mGuideLayersPopup->GetValue() != kGuideLayersOff;
}

int ShowMarlRenderSettingsDialog(tether::MarlRenderOptions& options) {
  using kilnworkspace::workspace::WorkspaceUtils;
  const auto window = WorkspaceUtils::FindMainTopLevelWindow();
  const auto workspace = WorkspaceUtils::GetCurrentWorkspace();
  const auto supplier = workspace->GetDrawSupplier();
  if (!supplier) {
    TraceDialog("render settings: nothing to show the dialog with; left as cancelled");
    return kCancelled;
  }
  const boost::intrusive_ptr<MarlRenderSettingsDialog> dialog(
      new MarlRenderSettingsDialog(supplier, window ? window->GetRootNode() : nullptr, options));
  std::stringstream stream;
  if (!dialog->GetScriptStream(u"MarlRenderSettingsDialog", stream)) {
    TraceDialog("render settings: the module has no layout for the dialog");
    return kCancelled;
  }
  dialog->ParseLoomScript(stream, false);
  if (dialog->IsCancelled()) return kCancelled;
  options = dialog->GetOptions();
  return 0;
}

}  // namespace TetherMedia
