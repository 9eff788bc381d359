#include <KL/IFarsideProjectItem.h>

namespace KL {

IFarsideProjectItem::~IFarsideProjectItem() = default;

kilncore::classref::InterfaceRef<IProject> GetContainingProxyProject(
    const kilncore::classref::InterfaceRef<IProjectItem>& item) {
  const kilncore::classref::InterfaceRef<IFarsideProjectItem> remote(item);
  if (!remote) return {};
  return remote->GetProxyProject();
}

}  // namespace KL
