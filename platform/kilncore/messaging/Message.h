#pragma once

#include <cstdint>
#include <memory>

namespace kilncore::messaging {

// Identifies a class of message. Never 0: 0 stands for "not computed yet" in
// the lazily filled identifiers of message classes.
using MessageID = uint32_t;

// The message identifier of a class from its type name ("KL::MediaInfoChangedMessage"):
// a 32-bit hash of the text, the same in every process and run, never 0. A
// null name is hashed as the empty text.
MessageID HashMessageTypeNameToMessageID(const char* typeName) noexcept;

// The base of every message sent through stations. A message is a value: the
// queues deliver copies made by Clone, so a sender may destroy its message as
// soon as the send returns.
class Message {
 public:
  virtual ~Message();

  MessageID GetMessageID() const noexcept { return mMessageID; }

  // A deep copy of the whole message, as its most derived class.
  virtual std::shared_ptr<Message> Clone() const = 0;

 protected:
  explicit Message(MessageID messageID) noexcept : mMessageID(messageID) {}
  Message(const Message&) = default;
  Message& operator=(const Message&) = default;

 private:
  MessageID mMessageID;
};

// The message as its class T, or null if it is of another class.
template <class T>
const T* MessageCast(const Message& message) noexcept {
  return dynamic_cast<const T*>(&message);
}

}  // namespace kilncore::messaging
