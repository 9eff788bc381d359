#include <kilnui/drawbot/ScriptedSupplier.h>

#include <kilnui/controls/UI_Button.h>
#include <kilnui/controls/UI_Popup.h>
#include <kilnui/controls/UI_StaticText.h>

#include <kilncore/config/Localizer.h>

#include <stdexcept>

namespace kilnui::drawbot {
namespace {

using kilncore::config::Localizer;

void Describe(ui::UI_Node& node, std::vector<ScriptedSupplier::ShownControl>& out) {
  ScriptedSupplier::ShownControl shown;
  shown.kind = node.GetKind();
  shown.identifier = node.GetIdentifier();
  if (auto* popup = dynamic_cast<controls::UI_Popup*>(&node)) {
    shown.text = Localizer::Get().Localize(popup->GetText());
    for (const auto& item : popup->GetItems()) shown.items.push_back(Localizer::Get().Localize(item));
    shown.value = popup->GetValue();
    out.push_back(std::move(shown));
  } else if (auto* button = dynamic_cast<controls::UI_Button*>(&node)) {
    shown.text = Localizer::Get().Localize(button->GetText());
    shown.isDefault = button->IsDefault();
    out.push_back(std::move(shown));
  } else if (auto* text = dynamic_cast<controls::UI_StaticText*>(&node)) {
    shown.text = Localizer::Get().Localize(text->GetText());
    out.push_back(std::move(shown));
  }
  for (const auto& child : node.GetChildren()) Describe(*child, out);
}

template <class T>
T& FindControl(ui::UI_Dialog& dialog, const std::string& identifier, const char* kind) {
  T* control = dynamic_cast<T*>(dialog.FindNode(identifier));
  if (!control) throw std::logic_error("script: the dialog has no " + std::string(kind) + " '" + identifier + "'");
  return *control;
}

}  // namespace

const ScriptedSupplier::ShownControl& ScriptedSupplier::ShownDialog::Control(const std::string& identifier) const {
  for (const auto& control : controls) {
    if (control.identifier == identifier) return control;
  }
  throw std::logic_error("the dialog showed no control '" + identifier + "'");
}

ScriptedSupplier::ScriptedSupplier(std::vector<Step> script) : mScript(script.begin(), script.end()) {}

void ScriptedSupplier::RunModal(ui::UI_Dialog& dialog, ui::UI_Node* parent) {
  mLastDialog = &dialog;
  dialog.Reopen();
  ShownDialog shown;
  shown.title = Localizer::Get().Localize(dialog.GetText());
  shown.hasParent = parent != nullptr;
  for (const auto& child : dialog.GetChildren()) Describe(*child, shown.controls);
  mShown.push_back(std::move(shown));
  while (!dialog.IsEnded() && !mScript.empty()) {
    const Step step = std::move(mScript.front());
    mScript.pop_front();
    Perform(dialog, step);
  }
  if (!dialog.IsEnded()) dialog.Close();
}

void ScriptedSupplier::Perform(ui::UI_Dialog& dialog, const Step& step) {
  switch (step.action) {
    case Step::Action::kChoose: FindControl<controls::UI_Popup>(dialog, step.identifier, "popup").Choose(step.index); return;
    case Step::Action::kPress: FindControl<controls::UI_Button>(dialog, step.identifier, "button").Press(); return;
    case Step::Action::kClose: dialog.Close(); return;
  }
}

}  // namespace kilnui::drawbot
