#include <KL/HostProject.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <functional>
#include <utility>

namespace KL {

namespace {

constexpr int32_t kNoLoadSupport = static_cast<int32_t>(0xA00F0001u);

size_t CountItems(const std::vector<ProjectXML::Item>& items) {
  size_t count = items.size();
  for (const ProjectXML::Item& item : items) count += CountItems(item.children);
  return count;
}

}  // namespace

HostProject::HostProject(kilncore::WideString name, ProjectXML::ProjectDocument document)
    : StationedProperties(document.properties, std::make_shared<kilncore::messaging::ManagedStation>()),
      mName(std::move(name)),
      mDocument(std::move(document)) {}

HostProject::~HostProject() = default;

int32_t HostProject::RunProjectLoad(const kilncore::classref::InterfaceRef<IProjectLoadSupport>& support,
                                    const kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>&) {
  if (!support) return kNoLoadSupport;
  IProjectLoadStatus* status = support->GetStatus();
  {
    std::lock_guard lock(mMutex);
    if (!mRoot) mRoot = HostProjectItem::CreateRoot(mDocument.items, GetStation());
  }
  if (status) {
    for (size_t i = CountItems(mDocument.items); i > 0; --i) status->ItemLoaded();
    status->LoadFinished(0);
  }
  return 0;
}

kilncore::classref::InterfaceRef<IProjectItem> HostProject::GetRootItem() {
  std::lock_guard lock(mMutex);
  return mRoot;
}

void* HostProject::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<HostProject, IProject, IProperties>(this, name);
}

}  // namespace KL
