#pragma once

#include <server/project/Composition.h>
#include <server/project/FontReference.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tetherserver {

// One node of a project's tree: a folder or a composition. Nodes sit in a flat
// list in depth-first order; node 0 is the root, a folder with the nil
// identifier that the file doesn't spell out.
struct ProjectNode {
  enum class Type { kFolder, kComposition };

  Type type = Type::kFolder;
  kilncore::utility::Guid id;
  std::string name;  // UTF-8
  // Index of the parent node; the root is its own parent.
  size_t parent = 0;
  uint32_t depth = 0;  // 0 for the root, 1 for its entries
  // Folders: the indexes of the entries, in the file's order.
  std::vector<size_t> children;
  // Compositions: the index into ProjectContents::compositions.
  size_t composition = 0;
};

// Everything read from a project's text, before the project knows its path.
struct ProjectContents {
  std::string producer;
  int64_t revision = 0;
  std::vector<FontReference> fonts;
  std::vector<ProjectNode> nodes;
  std::vector<Composition> compositions;
};

}  // namespace tetherserver
