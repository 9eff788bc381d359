#include <RL/ISource.h>

namespace RL {

ISource::~ISource() = default;

}  // namespace RL
