#include <KL/IVideoSource.h>

namespace KL {

IVideoSource::~IVideoSource() = default;

}  // namespace KL
