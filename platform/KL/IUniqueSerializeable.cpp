#include <KL/IUniqueSerializeable.h>

namespace KL {

IUniqueSerializeable::~IUniqueSerializeable() = default;

}  // namespace KL
