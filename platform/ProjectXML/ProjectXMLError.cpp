#include <ProjectXML/ProjectXMLError.h>

namespace ProjectXML {

ProjectXMLError::ProjectXMLError(const std::string& message) : std::runtime_error(message) {}

ProjectXMLError::~ProjectXMLError() = default;

}  // namespace ProjectXML
