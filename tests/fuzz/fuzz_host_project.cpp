// Feeds arbitrary texts to the host project reader, which the server uses on
// project files and the host's project library on texts from a server. The
// reader may refuse a text only with ProjectXMLError; any other exception
// aborts. What it accepts must survive the writer and the reader again
// unchanged, and the host's project library must load it.

#include <KL/IProject.h>
#include <KL/Keel.h>
#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>
#include <ProjectXML/ProjectXMLWriter.h>
#include <WF/ProjectLoadStatus.h>
#include <WF/ProjectLoadSupport.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ProjectXML::ProjectDocument document;
  try {
    document = ProjectXML::ProjectXMLReader::Read(text);
  } catch (const ProjectXML::ProjectXMLError&) {
    return 0;
  }
  if (!(ProjectXML::ProjectXMLReader::Read(ProjectXML::ProjectXMLWriter::Write(document)) == document)) std::abort();
  kilncore::classref::InterfaceRef<KL::IProject> project;
  if (KL::GetKeel()->ParseProjectXML(text, nullptr, u"Project", project) != 0 || !project) std::abort();
  if (project->RunProjectLoad(WF::ProjectLoadSupport::Create(project, 2, WF::ProjectLoadStatus::Create()), nullptr) !=
      0) {
    std::abort();
  }
  return 0;
}
