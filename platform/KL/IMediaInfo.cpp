#include <KL/IMediaInfo.h>

namespace KL {

IMediaInfo::~IMediaInfo() = default;

}  // namespace KL
