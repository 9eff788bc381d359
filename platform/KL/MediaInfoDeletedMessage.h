#pragma once

#include <kilncore/messaging/MessageImpl.h>

namespace KL {

// An item has gone offline: its media can't be reached any more. Posted to the
// item's station; the host decides what becomes of the item, which stays usable.
// It carries nothing but its message identifier.
class MediaInfoDeletedMessage : public kilncore::messaging::MessageImpl<MediaInfoDeletedMessage> {
 public:
  MediaInfoDeletedMessage() noexcept = default;
  MediaInfoDeletedMessage(const MediaInfoDeletedMessage&) = default;
  MediaInfoDeletedMessage& operator=(const MediaInfoDeletedMessage&) = default;
  ~MediaInfoDeletedMessage() override;
};

}  // namespace KL
