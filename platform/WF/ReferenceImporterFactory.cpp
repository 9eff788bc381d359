#include <WF/ReferenceImporterFactory.h>

#include <kilncore/classref/ClassFactory.h>
#include <kilncore/classref/QueryMapEntries.h>

#include <memory>
#include <utility>

namespace WF {

void ReferenceImporterFactory::AddMediaModule(
    kilncore::classref::InterfaceRef<IMediaModule> module) {
  if (!module) return;
  std::lock_guard lock(mMutex);
  mModules.push_back(std::move(module));
}

std::vector<kilncore::classref::InterfaceRef<IMediaModule>>
ReferenceImporterFactory::GetMediaModules() const {
  std::lock_guard lock(mMutex);
  return mModules;
}

void* ReferenceImporterFactory::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<ReferenceImporterFactory, IImporterFactory>(this, name);
}

kilncore::classref::InterfaceRef<IImporterFactory> RegisterReferenceImporterFactory() {
  auto factory = std::make_shared<ReferenceImporterFactory>();
  kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> instance(factory);
  kilncore::classref::ClassFactory::RegisterClass(
      kImporterFactoryClassID, "kImporterFactoryClassID", "ImporterFactory",
      [instance] { return instance; });
  return kilncore::classref::InterfaceRef<IImporterFactory>(std::move(factory));
}

}  // namespace WF
