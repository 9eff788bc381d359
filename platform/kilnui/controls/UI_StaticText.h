#pragma once

#include <kilnui/controls/UI_ControlView.h>

namespace kilnui::controls {

// A line of text the user reads and can't change.
class UI_StaticText : public UI_ControlView {
 public:
  UI_StaticText() : UI_ControlView("static_text") {}
};

}  // namespace kilnui::controls
