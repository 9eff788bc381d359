#pragma once

#include <kilnui/controls/UI_ControlView.h>

namespace kilnui::controls {

// A push button.
class UI_Button : public UI_ControlView {
 public:
  UI_Button() : UI_ControlView("button") {}

  // The user pressed the button: the handlers are told.
  void Press() { NotifyChanged(); }

  // Whether Return presses it.
  bool IsDefault() const { return mDefault; }
  void SetDefault(bool isDefault) { mDefault = isDefault; }

 private:
  bool mDefault = false;
};

}  // namespace kilnui::controls
