#include <FarsideCL/IFarsideCMediaLocator.h>

namespace FarsideCL {

IFarsideCMediaLocator::~IFarsideCMediaLocator() = default;

}  // namespace FarsideCL
