#include <kilncore/messaging/Message.h>

#include <xxhash.h>

#include <cstring>

namespace kilncore::messaging {

MessageID HashMessageTypeNameToMessageID(const char* typeName) noexcept {
  const char* text = typeName != nullptr ? typeName : "";
  // A fixed seed keeps identifiers stable between runs and processes, so that
  // two libraries that compute the identifier of one class agree.
  const MessageID hash = XXH32(text, std::strlen(text), 0);
  return hash != 0 ? hash : 1;
}

Message::~Message() = default;

}  // namespace kilncore::messaging
