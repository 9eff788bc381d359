#include <RL/IPane.h>

namespace RL {

IPane::~IPane() = default;

}  // namespace RL
