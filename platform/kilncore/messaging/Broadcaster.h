#pragma once

#include <kilncore/messaging/Message.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace kilncore::messaging {

// A list of listeners to which messages are broadcast.
//
// Thread-safe: listeners may be added, removed and called on any threads. A
// broadcast calls the listeners on the broadcasting thread, in the order they
// were added, with no lock of the Broadcaster held, so a listener may add or
// remove listeners (itself included) and broadcast again.
//
// Calls of one listener never overlap: a broadcast on another thread waits
// while that listener runs. So a listener must not block on a thread that is
// broadcasting on the same Broadcaster.
class Broadcaster {
 public:
  using Listener = std::function<void(const Message&)>;
  // Names one added listener. Never 0, so 0 can mean "no listener".
  using ListenerID = uint64_t;

  Broadcaster();
  virtual ~Broadcaster();
  Broadcaster(const Broadcaster&) = delete;
  Broadcaster& operator=(const Broadcaster&) = delete;

  // Adds `listener`; an empty function is not added and gives 0. A listener
  // added during a broadcast is first called by the next one.
  ListenerID AddListener(Listener listener);

  // Removes a listener; false if `id` isn't one of this Broadcaster's. When it
  // returns, the listener is not running on any other thread and won't be
  // called again, so it may then release what it refers to. (Called from inside
  // the listener itself, it returns at once.) Because of that wait, two
  // listeners must not remove each other from within their calls on different
  // threads.
  bool RemoveListener(ListenerID id);

  bool HasListeners() const;
  size_t GetListenerCount() const;

  // Calls every listener with `message`, on this thread. An exception thrown by
  // a listener ends the broadcast and passes to the caller.
  void BroadcastMessage(const Message& message);

 private:
  struct Entry;

  mutable std::mutex mMutex;
  std::vector<std::shared_ptr<Entry>> mEntries;
  ListenerID mNextID = 1;
};

}  // namespace kilncore::messaging
