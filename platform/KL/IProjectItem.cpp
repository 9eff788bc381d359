#include <KL/IProjectItem.h>

namespace KL {

IProjectItem::~IProjectItem() = default;

}  // namespace KL
