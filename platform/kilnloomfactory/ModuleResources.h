#pragma once

#include <kilnui/loomcontracts/UI_LoomResourceManager.h>

#include <optional>
#include <string>
#include <string_view>

namespace kilnloomfactory {

// Reads the resources that a module carries in itself.
//
// A module's resources are ELF notes of the owner "KilnRes" in its loaded
// image (cmake/TetherResources.cmake writes them): the note's type is the
// resource type's four characters ("LOOM"), and its descriptor holds the
// resource's name, a NUL, and the bytes of the resource. They are read from
// memory, from the module that contains the address `module`, so the module is
// neither opened again nor its reference count touched. A null `module` reads
// the main program.
class ModuleResources : public kilnui::loomcontracts::UI_LoomResourceManager {
 public:
  std::optional<std::string> FindResource(kilnui::loomcontracts::ModuleHandle module, std::string_view type,
                                          std::string_view name) const override;
};

}  // namespace kilnloomfactory
