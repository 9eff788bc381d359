#include <KL/IClipProjectItem.h>

namespace KL {

IClipProjectItem::~IClipProjectItem() = default;

}  // namespace KL
