#include <KL/IProjectItemContainer.h>

namespace KL {

IProjectItemContainer::~IProjectItemContainer() = default;

}  // namespace KL
