#include <kilncore/classref/Unknown.h>

namespace kilncore::classref {

Unknown::~Unknown() = default;

}  // namespace kilncore::classref
