#include <KL/IFontSetWatcher.h>

namespace KL {

IFontSetWatcher::~IFontSetWatcher() = default;

}  // namespace KL
