#pragma once

#include <kilnloomfactory/UI_LoomViewBase.h>

#include <kilnui/controls/UI_ControlChangedMessage.h>
#include <kilnui/controls/UI_Popup.h>
#include <kilnui/loomcontracts/UI_LoomDialogBase.h>

#include <kilncore/utility/RefCountedObjectWithWeakPtr.h>

#include <tether/MarlRenderOptions.h>

#include <boost/intrusive_ptr.hpp>

#include <memory>

namespace TetherMedia {

// The render settings of a linked Marl composition, as a modal dialog: whether
// guide layers are rendered, with OK and Cancel. The layout lives in the
// module's resources (MARLRENDERSETTINGSDIALOG, and .SHED for the other
// flavour); this class finds the controls, binds them, and copies the value in
// and out. The user's changes go to a copy of the options, which the caller
// gets only through OK.
//
// One object serves one showing; its life is its reference count. Main thread
// only.
class MarlRenderSettingsDialog : public kilnloomfactory::UI_LoomViewBase,
                                 public virtual kilncore::utility::RefCountedObjectWithWeakPtr {
 public:
  static constexpr const char* kLayoutName = "MarlRenderSettingsDialog";

  MarlRenderSettingsDialog(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier,
                           boost::intrusive_ptr<kilnui::ui::UI_Node> parent, const tether::MarlRenderOptions& options);
  ~MarlRenderSettingsDialog() override;

  // Binds OK, Cancel and the guide layers popup, and shows the options'
  // value. Throws KilnError ("Invalid type conversion.") if the layout's
  // RenderGuideLayersPopup isn't a popup, and kiln_exception if it is missing.
  void SetUpControls() override;

  // The module that holds this class's code, whose resources hold the layouts;
  // found without touching its reference count.
  kilnui::loomcontracts::ModuleHandle GetResourceModule() const override;

  // True unless the dialog ended by its OK button.
  bool IsCancelled() const { return mCancelled; }
  // The options as the user left them.
  const tether::MarlRenderOptions& GetOptions() const { return mOptions; }

 private:
  void OnCancelPressed(const kilnui::controls::UI_ControlChangedMessage& message);
  void OnOkPressed(const kilnui::controls::UI_ControlChangedMessage& message);
  void OnGuideLayersChanged(const kilnui::controls::UI_ControlChangedMessage& message);

  boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> mDialog;
  boost::intrusive_ptr<kilnui::controls::UI_Popup> mGuideLayersPopup;
  tether::MarlRenderOptions mOptions;
  bool mCancelled = true;
};

// Shows the render settings dialog modally over the main window (or over
// nothing) and waits for it. Returns 0 after OK, with the user's value in
// `options`; 1 after Cancel or any other close, or when the layout or a way to
// show it can't be had, with `options` unchanged. Throws what SetUpControls
// and the layout engine throw. Main thread only.
int ShowMarlRenderSettingsDialog(tether::MarlRenderOptions& options);

}  // namespace TetherMedia
