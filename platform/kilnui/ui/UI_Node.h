#pragma once

#include <boost/intrusive_ptr.hpp>

#include <atomic>
#include <string>
#include <vector>

namespace kilnui::ui {

// How a node is placed in the space its container gives it.
enum class UI_Alignment { kDefault, kFill, kLeft, kRight, kCenter, kTop, kBottom };

// One node of a window's tree of controls: a container or a control.
//
// Nodes are held by boost::intrusive_ptr; a node holds its children, and knows
// its parent only by a plain pointer, which its parent clears as it lets go.
// A tree belongs to the main thread, like every window.
class UI_Node {
 public:
  virtual ~UI_Node();
  UI_Node(const UI_Node&) = delete;
  UI_Node& operator=(const UI_Node&) = delete;

  // What kind of node it is: "dialog", "column", "popup", ...
  const std::string& GetKind() const { return mKind; }

  // The identifier a layout gave the node; empty if none.
  const std::string& GetIdentifier() const { return mIdentifier; }
  void SetIdentifier(std::string identifier) { mIdentifier = std::move(identifier); }

  // Placement: least width (0: as the content needs), alignments, and for
  // containers the space between children.
  int GetMinWidth() const { return mMinWidth; }
  void SetMinWidth(int width) { mMinWidth = width; }
  int GetSpacing() const { return mSpacing; }
  void SetSpacing(int spacing) { mSpacing = spacing; }
  UI_Alignment GetHorizontalAlignment() const { return mHorizontal; }
  UI_Alignment GetVerticalAlignment() const { return mVertical; }
  void SetAlignment(UI_Alignment horizontal, UI_Alignment vertical) {
    mHorizontal = horizontal;
    mVertical = vertical;
  }

  void AddChild(boost::intrusive_ptr<UI_Node> child);
  const std::vector<boost::intrusive_ptr<UI_Node>>& GetChildren() const { return mChildren; }
  UI_Node* GetParent() const { return mParent; }

  // The node with this identifier in the subtree, this one included; null if
  // none. An empty identifier finds nothing.
  UI_Node* FindNode(const std::string& identifier);

  friend void intrusive_ptr_add_ref(const UI_Node* node) noexcept {
    node->mRefCount.fetch_add(1, std::memory_order_relaxed);
  }
  friend void intrusive_ptr_release(const UI_Node* node) noexcept {
    if (node->mRefCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete node;
  }

 protected:
  explicit UI_Node(std::string kind);

 private:
  mutable std::atomic<int> mRefCount{0};
  std::string mKind;
  std::string mIdentifier;
  int mMinWidth = 0;
  int mSpacing = 0;
  UI_Alignment mHorizontal = UI_Alignment::kDefault;
  UI_Alignment mVertical = UI_Alignment::kDefault;
  std::vector<boost::intrusive_ptr<UI_Node>> mChildren;
  UI_Node* mParent = nullptr;
};

// The node as class T, or null if it is of another class (or null).
template <class T>
boost::intrusive_ptr<T> NodeCast(const boost::intrusive_ptr<UI_Node>& node) {
  return boost::intrusive_ptr<T>(dynamic_cast<T*>(node.get()));
}

}  // namespace kilnui::ui
