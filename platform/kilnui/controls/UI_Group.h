#pragma once

#include <kilnui/ui/UI_Node.h>

namespace kilnui::controls {

// A container that stacks its children: top to bottom (a column) or left to
// right (a row).
class UI_Group : public ui::UI_Node {
 public:
  explicit UI_Group(bool horizontal) : UI_Node(horizontal ? "row" : "column"), mHorizontal(horizontal) {}

  bool IsHorizontal() const { return mHorizontal; }

 private:
  bool mHorizontal;
};

}  // namespace kilnui::controls
