#pragma once

#include <kilnloomfactory/loom/LoomFlavour.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kilnloomfactory::loom {

// How a control is placed in the space its container gives it.
enum class LoomAlignment { kDefault, kFill, kLeft, kRight, kCenter, kTop, kBottom };

// One element of a layout, read and checked: its kind, its arguments in the
// meaning they have whatever the flavour, and its children in order.
struct LoomNode {
  LoomElementKind kind = LoomElementKind::kDialog;
  // The name as written ("kiln_popup"), and where it was written.
  std::string elementName;
  int line = 0;
  int column = 0;
  // The 'identifier:' argument; empty if it has none.
  std::string identifier;
  // The user-visible text: a dialog's title, a popup's label, an item's or a
  // button's name. A localisation key with its default, as written.
  std::string text;
  // Space between the children of a container, in pixels.
  std::optional<int> spacing;
  // The least width of a control, in pixels.
  std::optional<int> width;
  LoomAlignment horizontal = LoomAlignment::kDefault;
  LoomAlignment vertical = LoomAlignment::kDefault;
  std::vector<std::unique_ptr<LoomNode>> children;

  // The node with this identifier in the subtree, this one included; null if
  // none.
  const LoomNode* Find(const std::string& wanted) const;
};

// A whole layout: `layout NAME { view ELEMENT(...) { ... } }`.
struct LoomLayout {
  LoomFlavour flavour = LoomFlavour::kKiln;
  std::string name;
  std::unique_ptr<LoomNode> root;
};

}  // namespace kilnloomfactory::loom
