#include <KL/IVideoStream.h>

namespace KL {

IVideoStream::~IVideoStream() = default;

}  // namespace KL
