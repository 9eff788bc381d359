#pragma once

#include <cstdint>
#include <string>

namespace tetherserver {

// A font that a project declares. Whether the machine has it is fontconfig's
// answer (FontCatalog); `available` is what older files said, and is ignored.
// All texts are UTF-8.
struct FontReference {
  std::string family;
  std::string style;
  std::string fullName;
  std::string file;
  int32_t technology = 0;
  bool available = true;

  friend bool operator==(const FontReference&, const FontReference&) = default;
};

}  // namespace tetherserver
