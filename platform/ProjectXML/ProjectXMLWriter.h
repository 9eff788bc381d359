#pragma once

#include <ProjectXML/ProjectDocument.h>

#include <string>

namespace ProjectXML {

// Writes records in the host project dialect (docs/project-format.md), which
// ProjectXMLReader reads back to equal records. Indented by two spaces.
class ProjectXMLWriter {
 public:
  static std::string Write(const ProjectDocument& document);
};

}  // namespace ProjectXML
