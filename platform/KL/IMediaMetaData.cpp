#include <KL/IMediaMetaData.h>

namespace KL {

IMediaMetaData::~IMediaMetaData() = default;

}  // namespace KL
