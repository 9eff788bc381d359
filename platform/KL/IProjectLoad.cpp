#include <KL/IProjectLoad.h>

namespace KL {

IProjectLoadStatus::~IProjectLoadStatus() = default;

IProjectLoadSupport::~IProjectLoadSupport() = default;

}  // namespace KL
