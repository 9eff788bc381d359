#include <KL/IMediaAnalysis.h>

namespace KL {

IMediaAnalysis::~IMediaAnalysis() = default;

}  // namespace KL
