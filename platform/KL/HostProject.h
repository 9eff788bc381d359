#pragma once

#include <KL/HostProjectItem.h>
#include <KL/IProject.h>
#include <KL/StationedProperties.h>

#include <ProjectXML/ProjectDocument.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/messaging/ManagedStation.h>

#include <memory>
#include <mutex>
#include <string_view>

namespace KL {

// A host project parsed from its XML text (KL::IKeel::ParseProjectXML). The
// project's properties are there at once; its items are made by
// RunProjectLoad. The project owns the property station that it and all its
// items report to. Thread-safe.
class HostProject final : public IProject, public StationedProperties {
 public:
  HostProject(kilncore::WideString name, ProjectXML::ProjectDocument document);
  ~HostProject() override;

  const kilncore::WideString& GetName() const { return mName; }

  // KL::IProject
  int32_t RunProjectLoad(const kilncore::classref::InterfaceRef<IProjectLoadSupport>& support,
                         const kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>& reserved) override;
  kilncore::classref::InterfaceRef<IProjectItem> GetRootItem() override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const kilncore::WideString mName;
  const ProjectXML::ProjectDocument mDocument;
  std::mutex mMutex;
  kilncore::classref::InterfaceRef<HostProjectItem> mRoot;  // guarded by mMutex
};

}  // namespace KL
