#pragma once

#include <kilncore/messaging/Message.h>

#include <boost/core/demangle.hpp>

#include <atomic>
#include <memory>
#include <string>
#include <typeinfo>

namespace kilncore::messaging {

// The base of a concrete message class, which passes itself as `Derived`:
//
//   class TetherProgress : public MessageImpl<TetherProgress> { ... };
//
// It gives the class its identifier, the hash of its fully qualified type name
// ("TetherMedia::TetherProgress"), and a Clone that copies the whole message
// into one allocation. `Derived` must be copy-constructible.
template <class Derived>
class MessageImpl : public Message {
 public:
  // The identifier of `Derived`, computed on first use. Two threads may both
  // compute it the first time; they store the same value.
  static MessageID GetClassMessageID() noexcept {
    static std::atomic<MessageID> cached{0};
    MessageID id = cached.load(std::memory_order_relaxed);
    if (id == 0) {
      const std::string name = boost::core::demangle(typeid(Derived).name());
      id = HashMessageTypeNameToMessageID(name.c_str());
      cached.store(id, std::memory_order_relaxed);
    }
    return id;
  }

  std::shared_ptr<Message> Clone() const override {
    return std::make_shared<Derived>(static_cast<const Derived&>(*this));
  }

 protected:
  MessageImpl() noexcept : Message(GetClassMessageID()) {}
  MessageImpl(const MessageImpl&) = default;
  MessageImpl& operator=(const MessageImpl&) = default;
};

}  // namespace kilncore::messaging
