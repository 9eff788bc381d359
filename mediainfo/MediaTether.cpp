#include <TetherMedia/MediaTether.h>

#include <TetherMedia/Lifecycle.h>

namespace TetherMedia {

bool IsMediaTether(const kilncore::classref::InterfaceRef<KL::IMedia>& media) {
  if (media->GetImplementationID() == GetTetherImplementationID()) return true;
  const kilncore::classref::InterfaceRef<KL::IMediaInfo> info = media->GetMediaInfo();
  if (!info) return false;
  return info->IsLinkedMedia();
}

}  // namespace TetherMedia
