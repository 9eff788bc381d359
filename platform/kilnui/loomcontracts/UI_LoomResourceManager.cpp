#include <kilnui/loomcontracts/UI_LoomResourceManager.h>

namespace kilnui::loomcontracts {

UI_LoomResourceManager::~UI_LoomResourceManager() = default;

}  // namespace kilnui::loomcontracts
