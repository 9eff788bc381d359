#include <WF/ProjectLoadSupport.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <memory>
#include <utility>

namespace WF {

kilncore::classref::InterfaceRef<KL::IProjectLoadSupport> ProjectLoadSupport::Create(
    const kilncore::classref::InterfaceRef<KL::IProject>& project, int32_t mode,
    const kilncore::classref::InterfaceRef<KL::IProjectLoadStatus>& status) {
  return std::make_shared<ProjectLoadSupport>(project, mode, status);
}

ProjectLoadSupport::ProjectLoadSupport(kilncore::classref::InterfaceRef<KL::IProject> project, int32_t mode,
                                       kilncore::classref::InterfaceRef<KL::IProjectLoadStatus> status)
    : mProject(std::move(project)), mMode(mode), mStatus(std::move(status)) {}

ProjectLoadSupport::~ProjectLoadSupport() = default;

int32_t ProjectLoadSupport::GetLoadMode() const { return mMode; }

KL::IProjectLoadStatus* ProjectLoadSupport::GetStatus() const { return mStatus.Get(); }

void* ProjectLoadSupport::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<ProjectLoadSupport, KL::IProjectLoadSupport>(this, name);
}

}  // namespace WF
