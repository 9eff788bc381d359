#include <kilnloomfactory/LoomControlBuilder.h>

#include <kilnui/controls/UI_Button.h>
#include <kilnui/controls/UI_Group.h>
#include <kilnui/controls/UI_OkCancelRow.h>
#include <kilnui/controls/UI_Popup.h>
#include <kilnui/controls/UI_StaticText.h>

namespace kilnloomfactory {
namespace {

using kilnui::ui::UI_Alignment;
using kilnui::ui::UI_Node;
using loom::LoomAlignment;
using loom::LoomElementKind;
using loom::LoomNode;

UI_Alignment ToAlignment(LoomAlignment alignment) {
  switch (alignment) {
    case LoomAlignment::kDefault: return UI_Alignment::kDefault;
    case LoomAlignment::kFill: return UI_Alignment::kFill;
    case LoomAlignment::kLeft: return UI_Alignment::kLeft;
    case LoomAlignment::kRight: return UI_Alignment::kRight;
    case LoomAlignment::kCenter: return UI_Alignment::kCenter;
    case LoomAlignment::kTop: return UI_Alignment::kTop;
    case LoomAlignment::kBottom: return UI_Alignment::kBottom;
  }
  return UI_Alignment::kDefault;
}

template <class Control>
boost::intrusive_ptr<Control> WithText(const LoomNode& node) {
  boost::intrusive_ptr<Control> control(new Control);
  control->SetText(node.text);
  return control;
}

boost::intrusive_ptr<kilnui::controls::UI_Popup> MakePopup(const LoomNode& node) {
  auto popup = WithText<kilnui::controls::UI_Popup>(node);
  for (const auto& item : node.children) popup->AddItem(item->text);
  return popup;
}

// The node for one element; a popup takes its items, so they make no nodes.
boost::intrusive_ptr<UI_Node> MakeNode(const LoomNode& node) {
  switch (node.kind) {
    case LoomElementKind::kColumn: return new kilnui::controls::UI_Group(false);
    case LoomElementKind::kRow: return new kilnui::controls::UI_Group(true);
    case LoomElementKind::kPopup: return MakePopup(node);
    case LoomElementKind::kOkCancelRow: return new kilnui::controls::UI_OkCancelRow;
    case LoomElementKind::kButton: return WithText<kilnui::controls::UI_Button>(node);
    case LoomElementKind::kStaticText: return WithText<kilnui::controls::UI_StaticText>(node);
    case LoomElementKind::kDialog:
    case LoomElementKind::kPopupItem: break;
  }
  return nullptr;
}

void Place(UI_Node& target, const LoomNode& node) {
  if (!node.identifier.empty()) target.SetIdentifier(node.identifier);
  if (node.width) target.SetMinWidth(*node.width);
  if (node.spacing) target.SetSpacing(*node.spacing);
  if (node.horizontal != LoomAlignment::kDefault || node.vertical != LoomAlignment::kDefault) {
    target.SetAlignment(ToAlignment(node.horizontal), ToAlignment(node.vertical));
  }
}

void AddChildren(UI_Node& target, const LoomNode& node) {
  if (node.kind == LoomElementKind::kPopup) return;
  for (const auto& child : node.children) {
    boost::intrusive_ptr<UI_Node> made = MakeNode(*child);
    Place(*made, *child);
    AddChildren(*made, *child);
    target.AddChild(std::move(made));
  }
}

}  // namespace

boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> BuildLoomDialog(const loom::LoomLayout& layout) {
  boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> dialog(
      new kilnui::loomcontracts::UI_LoomDialogBase(layout.name));
  dialog->SetText(layout.root->text);
  Place(*dialog, *layout.root);
  AddChildren(*dialog, *layout.root);
  return dialog;
}

}  // namespace kilnloomfactory
