#include <KL/OverrideReadOnlyPropertyWarningMessage.h>

namespace KL {

OverrideReadOnlyPropertyWarningMessage::~OverrideReadOnlyPropertyWarningMessage() = default;

}  // namespace KL
