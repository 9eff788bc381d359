#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kilnui::loomcontracts {

// Names a loaded module (the main program or a shared library) whose resources
// a view reads: its base address, as the dynamic loader reports it. Null names
// the main program.
using ModuleHandle = const void*;

// Where a view finds the text of its layouts.
class UI_LoomResourceManager {
 public:
  virtual ~UI_LoomResourceManager();

  // The resource `name` of `type` ("LOOM") in `module`, or nothing if the
  // module has none of that name.
  virtual std::optional<std::string> FindResource(ModuleHandle module, std::string_view type,
                                                  std::string_view name) const = 0;
};

}  // namespace kilnui::loomcontracts
