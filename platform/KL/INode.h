#pragma once

#include <kilncore/classref/Unknown.h>

#include <cstdint>

namespace KL {

// A node of the host's project graph.
class INode : public kilncore::classref::Unknown {
 public:
  ~INode() override;
  // The node's identifier, unique within its project.
  virtual uint64_t GetNodeID() const = 0;

 protected:
  INode() = default;
};

}  // namespace KL
