#include <KL/IMedia.h>

namespace KL {

IMedia::~IMedia() = default;

}  // namespace KL
