#include <DR/ISequentialAudioSource.h>

namespace DR {

ISequentialAudioSource::~ISequentialAudioSource() = default;

}  // namespace DR
