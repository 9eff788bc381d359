#include <KL/IMediaFile.h>

namespace KL {

IMediaFile::~IMediaFile() = default;

}  // namespace KL
