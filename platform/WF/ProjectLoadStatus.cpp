#include <WF/ProjectLoadStatus.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <memory>

namespace WF {

kilncore::classref::InterfaceRef<KL::IProjectLoadStatus> ProjectLoadStatus::Create() {
  return std::make_shared<ProjectLoadStatus>();
}

ProjectLoadStatus::ProjectLoadStatus() = default;

ProjectLoadStatus::~ProjectLoadStatus() = default;

void ProjectLoadStatus::ItemLoaded() { ++mLoaded; }

void ProjectLoadStatus::LoadFinished(int32_t result) {
  mResult = result;
  mFinished = true;
}

size_t ProjectLoadStatus::GetLoadedItemCount() const { return mLoaded; }

bool ProjectLoadStatus::IsFinished() const { return mFinished; }

int32_t ProjectLoadStatus::GetResult() const { return mResult; }

void* ProjectLoadStatus::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<ProjectLoadStatus, KL::IProjectLoadStatus>(this, name);
}

}  // namespace WF
