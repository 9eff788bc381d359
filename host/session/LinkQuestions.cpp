#include <host/session/LinkQuestions.h>

#include <Crate/ApplicationType.h>
#include <TetherMedia/ITetherMediaInfo.h>

namespace tetherhost {

bool ContainsLink(const kilncore::classref::InterfaceRef<KL::IMediaInfo>& item) {
  const kilncore::classref::InterfaceRef<TetherMedia::ITetherMediaInfo> linked(item);
  if (!linked) return false;
  const Crate::ScopedApplicationType asHost(Crate::kApplicationType_Tolmen);
  return linked->HasNestedLink();
}

std::string LinkText(bool containsLink) {
  return std::string("links:         ") +
         (containsLink ? "contains a link to an item of another project\n" : "none\n");
}

}  // namespace tetherhost
