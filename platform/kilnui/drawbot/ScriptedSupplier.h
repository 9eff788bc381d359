#pragma once

#include <kilnui/drawbot/SupplierInterface.h>
#include <kilnui/ui/UI_Dialog.h>

#include <boost/intrusive_ptr.hpp>

#include <deque>
#include <string>
#include <vector>

namespace kilnui::drawbot {

// A headless draw supplier that works dialogs as a user would, from a script:
// choose an item of a popup, press a button, close the window. It records what
// each dialog showed when it opened, with its texts localised, so that tests
// can check what a user would have seen.
//
// A modal showing takes steps from the front of the script until its dialog
// has ended. If the script runs out first, the dialog is closed as by its close
// box. A step that names no control of the dialog, or a control of the wrong
// kind, throws std::logic_error: the script doesn't fit the dialog.
class ScriptedSupplier : public SupplierInterface {
 public:
  struct Step {
    enum class Action { kChoose, kPress, kClose };
    Action action;
    std::string identifier;
    int index = 0;
  };

  // What a dialog showed as it opened.
  struct ShownControl {
    std::string kind;        // "popup", "button", "static_text"
    std::string identifier;
    std::string text;        // localised
    std::vector<std::string> items;  // a popup's, localised
    int value = 0;           // a popup's chosen item
    bool isDefault = false;  // a button that Return presses
  };
  struct ShownDialog {
    std::string title;  // localised
    bool hasParent = false;
    std::vector<ShownControl> controls;  // in the order of the tree
    // The control with this identifier; throws std::logic_error if none.
    const ShownControl& Control(const std::string& identifier) const;
  };

  static Step Choose(std::string identifier, int index) { return {Step::Action::kChoose, std::move(identifier), index}; }
  static Step Press(std::string identifier) { return {Step::Action::kPress, std::move(identifier), 0}; }
  static Step Close() { return {Step::Action::kClose, {}, 0}; }

  ScriptedSupplier() = default;
  explicit ScriptedSupplier(std::vector<Step> script);

  void Append(Step step) { mScript.push_back(std::move(step)); }
  size_t GetRemainingSteps() const { return mScript.size(); }

  std::string GetName() const override { return "scripted"; }
  void RunModal(ui::UI_Dialog& dialog, ui::UI_Node* parent) override;

  const std::vector<ShownDialog>& GetShownDialogs() const { return mShown; }
  // The last dialog shown, kept after it ended; null before the first.
  const boost::intrusive_ptr<ui::UI_Dialog>& GetLastDialog() const { return mLastDialog; }

 private:
  void Perform(ui::UI_Dialog& dialog, const Step& step);

  std::deque<Step> mScript;
  std::vector<ShownDialog> mShown;
  boost::intrusive_ptr<ui::UI_Dialog> mLastDialog;
};

}  // namespace kilnui::drawbot
