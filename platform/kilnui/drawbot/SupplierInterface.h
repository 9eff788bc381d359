#pragma once

#include <string>

namespace kilnui::ui {
class UI_Dialog;
class UI_Node;
}  // namespace kilnui::ui

namespace kilnui::drawbot {

// What draws windows and lets the user work them: a window system, or a
// headless stand-in. Controls don't know which one shows them.
class SupplierInterface {
 public:
  virtual ~SupplierInterface();

  // "gtk", "scripted", ...: for traces and messages.
  virtual std::string GetName() const = 0;

  // Shows `dialog` modally, over `parent` if there is one, and returns once it
  // has ended (UI_Dialog::IsEnded). Call on the main thread.
  virtual void RunModal(ui::UI_Dialog& dialog, ui::UI_Node* parent) = 0;
};

}  // namespace kilnui::drawbot
