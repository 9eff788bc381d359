#pragma once

#include <KL/IProject.h>
#include <KL/IProjectItem.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/ImmutableString.h>

namespace KL {

// A project item that stands for an asset of the remote Farside service. Such
// items live in a proxy project: a local stand-in for the remote production.
class IFarsideProjectItem : public kilncore::classref::Unknown {
 public:
  ~IFarsideProjectItem() override;

  // The asset's text, as the remote client names it.
  virtual kilncore::utility::ImmutableString GetAssetText() const = 0;
  // The proxy project that holds the item; null when it has none.
  virtual kilncore::classref::InterfaceRef<IProject> GetProxyProject() const = 0;

 protected:
  IFarsideProjectItem() = default;
};

// The proxy project around `item`: that of its KL::IFarsideProjectItem, null
// for an item that isn't remote.
kilncore::classref::InterfaceRef<IProject> GetContainingProxyProject(
    const kilncore::classref::InterfaceRef<IProjectItem>& item);

}  // namespace KL
