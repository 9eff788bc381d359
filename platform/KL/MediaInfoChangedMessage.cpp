#include <KL/MediaInfoChangedMessage.h>

namespace KL {

MediaInfoChangedMessage::~MediaInfoChangedMessage() = default;

}  // namespace KL
