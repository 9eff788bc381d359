#include <RL/IRenderableExtendedStillInfo.h>

namespace RL {

IRenderableExtendedStillInfo::~IRenderableExtendedStillInfo() = default;

}  // namespace RL
