#include <WF/IImporterFactory.h>

namespace WF {

IImporterFactory::~IImporterFactory() = default;

}  // namespace WF
