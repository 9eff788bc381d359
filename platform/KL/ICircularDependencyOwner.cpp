#include <KL/ICircularDependencyOwner.h>

namespace KL {

ICircularDependencyOwner::~ICircularDependencyOwner() = default;

}  // namespace KL
