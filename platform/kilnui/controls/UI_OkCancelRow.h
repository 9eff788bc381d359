#pragma once

#include <kilnui/controls/UI_Button.h>
#include <kilnui/controls/UI_Group.h>

#include <boost/intrusive_ptr.hpp>

namespace kilnui::controls {

// The row of a dialog's closing buttons: Cancel, then OK, at the right. The
// buttons have the identifiers "cancelButton" and "okButton"; which of them
// closes the dialog, and how, is the dialog's to say (UI_Dialog::SetOkButton).
class UI_OkCancelRow : public UI_Group {
 public:
  UI_OkCancelRow();

  const boost::intrusive_ptr<UI_Button>& GetOkButton() const { return mOk; }
  const boost::intrusive_ptr<UI_Button>& GetCancelButton() const { return mCancel; }

  static constexpr const char* kOkIdentifier = "okButton";
  static constexpr const char* kCancelIdentifier = "cancelButton";

 private:
  boost::intrusive_ptr<UI_Button> mCancel;
  boost::intrusive_ptr<UI_Button> mOk;
};

}  // namespace kilnui::controls
