#include <kilnui/drawbot/SupplierInterface.h>

namespace kilnui::drawbot {

SupplierInterface::~SupplierInterface() = default;

}  // namespace kilnui::drawbot
