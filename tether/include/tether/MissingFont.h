#pragma once

#include <cstdint>
#include <string>

namespace tether {

// A font that a project uses and the server can't find. All texts are UTF-8.
// identityA and identityB together identify the font (family and style names);
// detailA and detailB describe it for the user (full name and file, where
// known); value is the server's font technology code.
struct MissingFont {
  std::string identityA;
  std::string identityB;
  std::string detailA;
  std::string detailB;
  int32_t value = 0;

  friend bool operator==(const MissingFont&, const MissingFont&) = default;
};

}  // namespace tether
