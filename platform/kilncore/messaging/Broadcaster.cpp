#include <kilncore/messaging/Broadcaster.h>

#include <algorithm>
#include <utility>

namespace kilncore::messaging {

// One listener. `callMutex` is held while the listener runs, so that
// RemoveListener can wait for a running call; it is recursive so that the
// listener may remove itself, or receive a nested broadcast, on its own thread.
struct Broadcaster::Entry {
  Entry(ListenerID listenerID, Listener function)
      : id(listenerID), listener(std::move(function)) {}

  const ListenerID id;
  const Listener listener;
  std::recursive_mutex callMutex;
  bool removed = false;  // guarded by callMutex
};

Broadcaster::Broadcaster() = default;

Broadcaster::~Broadcaster() = default;

Broadcaster::ListenerID Broadcaster::AddListener(Listener listener) {
  if (!listener) return 0;
  std::lock_guard lock(mMutex);
  const ListenerID id = mNextID++;
  mEntries.push_back(std::make_shared<Entry>(id, std::move(listener)));
  return id;
}

bool Broadcaster::RemoveListener(ListenerID id) {
  std::shared_ptr<Entry> entry;
  {
    std::lock_guard lock(mMutex);
    auto it = std::find_if(mEntries.begin(), mEntries.end(),
                           [id](const std::shared_ptr<Entry>& e) { return e->id == id; });
    if (it == mEntries.end()) return false;
    entry = std::move(*it);
    mEntries.erase(it);
  }
  // Waits for a call in progress on another thread; the list's lock is not held.
  std::lock_guard callLock(entry->callMutex);
  entry->removed = true;
  return true;
}

bool Broadcaster::HasListeners() const {
  std::lock_guard lock(mMutex);
  return !mEntries.empty();
}

size_t Broadcaster::GetListenerCount() const {
  std::lock_guard lock(mMutex);
  return mEntries.size();
}

void Broadcaster::BroadcastMessage(const Message& message) {
  std::vector<std::shared_ptr<Entry>> snapshot;
  {
    std::lock_guard lock(mMutex);
    snapshot = mEntries;
  }
  for (const std::shared_ptr<Entry>& entry : snapshot) {
    std::lock_guard callLock(entry->callMutex);
    if (!entry->removed) entry->listener(message);
  }
}

}  // namespace kilncore::messaging
