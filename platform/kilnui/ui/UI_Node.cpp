#include <kilnui/ui/UI_Node.h>

namespace kilnui::ui {

UI_Node::UI_Node(std::string kind) : mKind(std::move(kind)) {}

UI_Node::~UI_Node() {
  for (const auto& child : mChildren) child->mParent = nullptr;
}

void UI_Node::AddChild(boost::intrusive_ptr<UI_Node> child) {
  child->mParent = this;
  mChildren.push_back(std::move(child));
}

UI_Node* UI_Node::FindNode(const std::string& identifier) {
  if (identifier.empty()) return nullptr;
  if (mIdentifier == identifier) return this;
  for (const auto& child : mChildren) {
    if (UI_Node* found = child->FindNode(identifier)) return found;
  }
  return nullptr;
}

}  // namespace kilnui::ui
