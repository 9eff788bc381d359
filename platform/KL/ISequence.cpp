#include <KL/ISequence.h>

namespace KL {

ISequence::~ISequence() = default;

}  // namespace KL
