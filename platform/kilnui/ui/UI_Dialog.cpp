#include <kilnui/ui/UI_Dialog.h>

namespace kilnui::ui {

UI_Dialog::UI_Dialog() : UI_ControlView("dialog") {}

UI_Dialog::~UI_Dialog() {
  // The buttons may outlive the dialog; a late press must not reach it.
  Unbind(mOk);
  Unbind(mCancel);
}

void UI_Dialog::SetOkButton(boost::intrusive_ptr<controls::UI_Button> button) {
  if (mOk.button) mOk.button->SetDefault(false);
  Bind(mOk, std::move(button), EndReason::kOk);
  if (mOk.button) mOk.button->SetDefault(true);
}

void UI_Dialog::SetCancelButton(boost::intrusive_ptr<controls::UI_Button> button) {
  Bind(mCancel, std::move(button), EndReason::kCancel);
}

void UI_Dialog::Bind(EndingButton& slot, boost::intrusive_ptr<controls::UI_Button> button,
                     EndReason reason) {
  Unbind(slot);
  slot.button = std::move(button);
  if (!slot.button) return;
  slot.handler = slot.button->NotifyWhenChanged([this, reason](const kilncore::messaging::Message&) { End(reason); });
}

void UI_Dialog::Unbind(EndingButton& slot) {
  if (slot.button) slot.button->StopNotifying(slot.handler);
  slot.button = nullptr;
  slot.handler = 0;
}

void UI_Dialog::End(EndReason reason) {
  // A press after the end (a second click in flight) changes nothing.
  if (IsEnded()) return;
  mEndReason = reason;
  if (mEnded) mEnded();
}

}  // namespace kilnui::ui
