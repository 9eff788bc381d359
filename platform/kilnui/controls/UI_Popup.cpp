#include <kilnui/controls/UI_Popup.h>

#include <stdexcept>

namespace kilnui::controls {

void UI_Popup::AddItem(std::string text) { mItems.push_back(std::move(text)); }

void UI_Popup::SetValue(int index) {
  if (index < 0 || static_cast<size_t>(index) >= mItems.size()) {
    throw std::out_of_range("popup '" + GetIdentifier() + "' has no item " + std::to_string(index));
  }
  mValue = index;
}

void UI_Popup::Choose(int index) {
  SetValue(index);
  NotifyChanged();
}

}  // namespace kilnui::controls
