#pragma once

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tetherserver {

// One element of the project XML text that the server exports: a folder with
// its contents, or a composition with its description.
struct ProjectXmlItem {
  bool folder = false;
  kilncore::utility::Guid id;
  std::string name;  // UTF-8
  // Further attributes, in order (compositions: size, rate, duration, state).
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<ProjectXmlItem> children;
};

// Writes the export text with pugixml: an XML declaration, then
//   <tetherProject version="1" file="...">  items  </tetherProject>
// with `<folder id name>` and `<composition id name ...>` elements, two spaces
// of indentation a level, texts escaped. The layout is part of the protocol
// (docs/protocol.md), so that a reader can rely on it.
std::string WriteProjectXml(const std::string& projectPath, const std::vector<ProjectXmlItem>& items);

}  // namespace tetherserver
