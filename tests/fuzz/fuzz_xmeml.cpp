// Feeds arbitrary texts to the Final Cut Pro XML reader of the host's project
// library: exports come from anywhere. The reader may refuse a text only with
// ProjectXMLError; any other exception aborts. What it accepts must be
// records that the host project writer writes and its reader reads without a
// crash (texts may come back normalised: XML turns a carriage return into a
// line feed).

#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>
#include <ProjectXML/ProjectXMLWriter.h>
#include <ProjectXML/XmemlReader.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ProjectXML::ProjectDocument document;
  try {
    document = ProjectXML::XmemlReader::Read(text, "/fuzz/cut.xml");
  } catch (const ProjectXML::ProjectXMLError&) {
    return 0;
  }
  try {
    ProjectXML::ProjectXMLReader::Read(ProjectXML::ProjectXMLWriter::Write(document));
  } catch (const ProjectXML::ProjectXMLError&) {
    // Values the host dialect bounds more tightly (a clip's id) are refused.
  }
  return 0;
}
