#pragma once

#include <kilncore/messaging/MessageImpl.h>

namespace KL {

// The media of an item has changed: its frames, samples or description may
// differ from what was read before. Posted to the item's station; the host
// reads the item again.
// It carries nothing but its message identifier.
class MediaInfoChangedMessage : public kilncore::messaging::MessageImpl<MediaInfoChangedMessage> {
 public:
  MediaInfoChangedMessage() noexcept = default;
  MediaInfoChangedMessage(const MediaInfoChangedMessage&) = default;
  MediaInfoChangedMessage& operator=(const MediaInfoChangedMessage&) = default;
  ~MediaInfoChangedMessage() override;
};

}  // namespace KL
