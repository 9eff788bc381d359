#include <KL/SerializeableValue.h>

namespace KL {

exSerializeableTypeMismatch::exSerializeableTypeMismatch(int stored, int wanted)
    : std::runtime_error("a property value of type " + std::to_string(stored) + " read as type " +
                         std::to_string(wanted)) {}

exSerializeableTypeMismatch::~exSerializeableTypeMismatch() = default;

SerializeableValueBase::~SerializeableValueBase() = default;

}  // namespace KL
