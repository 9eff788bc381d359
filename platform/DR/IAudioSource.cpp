#include <DR/IAudioSource.h>

namespace DR {

IAudioSource::~IAudioSource() = default;

}  // namespace DR
