#pragma once

#include <tether/MissingFont.h>

#include <kilncore/string/WideString.h>

#include <string>
#include <vector>

namespace tether {

// What a project uses and its server can't find.
struct MissingAssets {
  std::vector<MissingFont> fonts;
  // Effects and plug-ins, by their UTF-8 names.
  std::vector<std::string> effects;
  // Footage and other files, by their paths.
  std::vector<kilncore::WideString> files;

  friend bool operator==(const MissingAssets&, const MissingAssets&) = default;
};

}  // namespace tether
