#include <KL/INode.h>

namespace KL {

INode::~INode() = default;

}  // namespace KL
