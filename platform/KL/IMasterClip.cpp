#include <KL/IMasterClip.h>

namespace KL {

IMasterClip::~IMasterClip() = default;

}  // namespace KL
