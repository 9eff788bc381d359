#include <kilnloomfactory/loom/LoomNode.h>

namespace kilnloomfactory::loom {

const LoomNode* LoomNode::Find(const std::string& wanted) const {
  if (!wanted.empty() && identifier == wanted) return this;
  for (const auto& child : children) {
    if (const LoomNode* found = child->Find(wanted)) return found;
  }
  return nullptr;
}

}  // namespace kilnloomfactory::loom
