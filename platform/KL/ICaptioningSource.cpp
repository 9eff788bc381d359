#include <KL/ICaptioningSource.h>

namespace KL {

ICaptioningSource::~ICaptioningSource() = default;

}  // namespace KL
