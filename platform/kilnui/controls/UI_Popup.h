#pragma once

#include <kilnui/controls/UI_ControlView.h>

#include <string>
#include <vector>

namespace kilnui::controls {

// A pop-up menu: a label and a list of items, one of which is chosen. Its
// value is the index of the chosen item.
class UI_Popup : public UI_ControlView {
 public:
  UI_Popup() : UI_ControlView("popup") {}

  // Appends an item; its text is a localisation key with its default.
  void AddItem(std::string text);
  const std::vector<std::string>& GetItems() const { return mItems; }

  // The chosen item's index; 0 until something else is set.
  int GetValue() const override { return mValue; }

  // Chooses an item without telling the handlers, as a program does. Throws
  // std::out_of_range for an index that names no item.
  void SetValue(int index);

  // The user chose item `index`: SetValue, then the handlers are told.
  void Choose(int index);

 private:
  std::vector<std::string> mItems;
  int mValue = 0;
};

}  // namespace kilnui::controls
