#pragma once

#include <kilnui/ui/UI_Dialog.h>

#include <string>

namespace kilnui::loomcontracts {

// A dialog that a layout engine built from a layout: the view of a Loom view.
class UI_LoomDialogBase : public ui::UI_Dialog {
 public:
  explicit UI_LoomDialogBase(std::string layoutName) : mLayoutName(std::move(layoutName)) {}

  // The name the layout declares ("layout NAME").
  const std::string& GetLayoutName() const { return mLayoutName; }

 private:
  std::string mLayoutName;
};

}  // namespace kilnui::loomcontracts
