#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace LoomTest {

// The text of one of the module's layout resources, as shipped in resources/.
inline std::string ReadShippedLayout(const std::string& fileName) {
  std::ifstream file(std::string(TETHER_TEST_EXAMPLES_FOLDER) + "/../resources/" + fileName, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

inline std::string KilnDialogLayout() { return ReadShippedLayout("MarlRenderSettingsDialog.loom"); }
inline std::string ShedDialogLayout() { return ReadShippedLayout("MarlRenderSettingsDialog.shed.loom"); }

}  // namespace LoomTest
