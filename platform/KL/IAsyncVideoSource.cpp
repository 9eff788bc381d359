#include <KL/IAsyncVideoSource.h>

namespace KL {

IAsyncVideoSource::~IAsyncVideoSource() = default;

}  // namespace KL
