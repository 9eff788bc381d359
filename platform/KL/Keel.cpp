#include <KL/Keel.h>

#include <KL/HostProject.h>

#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>

#include <kilncore/debug/Trace.h>

#include <mutex>
#include <utility>

namespace KL {

const kilncore::utility::ImmutableString kProjectItemMarkedForImportPropertyKey("Keel.Project.MarkedForImport");
const kilncore::utility::ImmutableString kProjectItemMarkedForNotImportPropertyKey("Keel.ProjectItem.MarkedForNotImport");
const kilncore::utility::ImmutableString kOriginalProjectItemGuid("Keel.ProjectItem.OriginalGuid");
const kilncore::utility::ImmutableString kOriginalProjectItemProjectPath("Keel.ProjectItem.OriginalProjectPath");

IKeel::~IKeel() = default;

namespace {

constexpr int32_t kParseFailed = static_cast<int32_t>(0xA00F0001u);
constexpr char kTraceChannel[] = "Keel";

// The reference library: projects of the host project dialect.
class ReferenceKeel final : public IKeel {
 public:
  int32_t ParseProjectXML(std::string_view text,
                          const kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>& /*reserved*/,
                          const kilncore::WideString& name,
                          kilncore::classref::InterfaceRef<IProject>& out) override {
    try {
      out = std::make_shared<HostProject>(name, ProjectXML::ProjectXMLReader::Read(text));
      return 0;
    } catch (const ProjectXML::ProjectXMLError& error) {
      if (kilncore::debug::TraceEnabled(kTraceChannel, 1, true)) {
        kilncore::debug::Trace(1, kTraceChannel, std::string("Project XML not parsed: ") + error.what());
      }
      out = nullptr;
      return kParseFailed;
    }
  }
};

std::mutex gKeelMutex;
std::shared_ptr<IKeel> gKeel = std::make_shared<ReferenceKeel>();

}  // namespace

IKeel* GetKeel() {
  std::lock_guard lock(gKeelMutex);
  return gKeel.get();
}

std::shared_ptr<IKeel> SetKeelForTesting(std::shared_ptr<IKeel> keel) {
  std::lock_guard lock(gKeelMutex);
  return std::exchange(gKeel, std::move(keel));
}

}  // namespace KL
