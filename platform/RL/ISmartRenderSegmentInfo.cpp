#include <RL/ISmartRenderSegmentInfo.h>

namespace RL {

ISmartRenderSegmentInfo::~ISmartRenderSegmentInfo() = default;

}  // namespace RL
