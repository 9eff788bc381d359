#include <kilnui/controls/UI_OkCancelRow.h>

namespace kilnui::controls {

UI_OkCancelRow::UI_OkCancelRow() : UI_Group(true), mCancel(new UI_Button), mOk(new UI_Button) {
  mCancel->SetIdentifier(kCancelIdentifier);
  mCancel->SetText("$$$/kilnui/Button/Cancel=Cancel");
  mOk->SetIdentifier(kOkIdentifier);
  mOk->SetText("$$$/kilnui/Button/OK=OK");
  SetAlignment(ui::UI_Alignment::kRight, ui::UI_Alignment::kDefault);
  SetSpacing(8);
  AddChild(mCancel);
  AddChild(mOk);
}

}  // namespace kilnui::controls
