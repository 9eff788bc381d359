#pragma once

#include <KL/IProjectItem.h>
#include <KL/IProjectLoad.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/classref/UnknownBase.h>

#include <cstdint>

namespace KL {

// A project of the host, in memory. Its items exist once it has been loaded;
// the project itself also answers for KL::IProperties.
class IProject : public kilncore::classref::Unknown {
 public:
  ~IProject() override;
  // Builds the project's items, reporting to `support`'s status. 0, or a
  // negative result if `support` is null. A second load does nothing.
  virtual int32_t RunProjectLoad(const kilncore::classref::InterfaceRef<IProjectLoadSupport>& support,
                                 const kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>& reserved) = 0;
  // The root of the bin tree (a KL::IProjectItemContainer); null before the
  // load.
  virtual kilncore::classref::InterfaceRef<IProjectItem> GetRootItem() = 0;

 protected:
  IProject() = default;
};

}  // namespace KL
