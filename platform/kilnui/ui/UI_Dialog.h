#pragma once

#include <kilnui/controls/UI_Button.h>
#include <kilnui/controls/UI_ControlView.h>

#include <boost/intrusive_ptr.hpp>

#include <functional>

namespace kilnui::ui {

// A dialog window: a title, a tree of controls, and the buttons that end it.
//
// A draw supplier shows it modally until it has ended: by its OK button, by its
// Cancel button, or by being closed in another way (the window's close box,
// Escape), which counts as neither.
class UI_Dialog : public controls::UI_ControlView {
 public:
  enum class EndReason { kOpen, kOk, kCancel, kClosed };

  UI_Dialog();
  ~UI_Dialog() override;

  // The button that ends the dialog with kOk; it also becomes the default
  // button, the one Return presses. Null clears it.
  void SetOkButton(boost::intrusive_ptr<controls::UI_Button> button);
  // The button that ends the dialog with kCancel. Null clears it.
  void SetCancelButton(boost::intrusive_ptr<controls::UI_Button> button);
  const boost::intrusive_ptr<controls::UI_Button>& GetOkButton() const { return mOk.button; }
  const boost::intrusive_ptr<controls::UI_Button>& GetCancelButton() const { return mCancel.button; }

  // Ends the dialog without OK or Cancel, as the window's close box does.
  void Close() { End(EndReason::kClosed); }

  // Opens the dialog again for a new showing.
  void Reopen() { mEndReason = EndReason::kOpen; }

  bool IsEnded() const { return mEndReason != EndReason::kOpen; }
  EndReason GetEndReason() const { return mEndReason; }

  // Called once each time the dialog ends, so that a supplier can leave its
  // modal loop.
  void SetEndedCallback(std::function<void()> callback) { mEnded = std::move(callback); }

 private:
  struct EndingButton {
    boost::intrusive_ptr<controls::UI_Button> button;
    controls::UI_ControlView::HandlerID handler = 0;
  };

  void Bind(EndingButton& slot, boost::intrusive_ptr<controls::UI_Button> button, EndReason reason);
  static void Unbind(EndingButton& slot);
  void End(EndReason reason);

  EndingButton mOk;
  EndingButton mCancel;
  EndReason mEndReason = EndReason::kOpen;
  std::function<void()> mEnded;
};

}  // namespace kilnui::ui
