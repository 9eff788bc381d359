#include <KL/IClipLoggingInfo.h>

namespace KL {

IClipLoggingInfo::~IClipLoggingInfo() = default;

}  // namespace KL
