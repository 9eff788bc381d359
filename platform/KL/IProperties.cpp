#include <KL/IProperties.h>

namespace KL {

IProperties::~IProperties() = default;

}  // namespace KL
