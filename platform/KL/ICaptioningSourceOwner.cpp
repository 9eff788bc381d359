#include <KL/ICaptioningSourceOwner.h>

namespace KL {

ICaptioningSourceOwner::~ICaptioningSourceOwner() = default;

}  // namespace KL
