#include <KL/MediaInfoDeletedMessage.h>

namespace KL {

MediaInfoDeletedMessage::~MediaInfoDeletedMessage() = default;

}  // namespace KL
