#include <kilnui/loomcontracts/UI_LoomSignalCallbackSuite.h>

namespace kilnui::loomcontracts {

UI_LoomSignalCallbackSuite::~UI_LoomSignalCallbackSuite() = default;

}  // namespace kilnui::loomcontracts
