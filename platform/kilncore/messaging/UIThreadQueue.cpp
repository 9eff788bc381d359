#include <kilncore/messaging/UIThreadQueue.h>

#include <kilncore/messaging/StationRegistry.h>

#include <utility>

namespace kilncore::messaging {

UIThreadQueue::UIThreadQueue() = default;

UIThreadQueue::~UIThreadQueue() = default;

UIThreadQueue& UIThreadQueue::Instance() {
  // Never destroyed: messages may be posted from static destructors.
  static UIThreadQueue* queue = new UIThreadQueue();
  return *queue;
}

bool UIThreadQueue::Post(const std::shared_ptr<Station>& station,
                         std::shared_ptr<const Message> message) {
  if (!station || station->IsDisposed() || !message) return false;
  {
    std::lock_guard lock(mMutex);
    mPending.push_back(Pending{station, std::move(message)});
  }
  mCondition.notify_all();
  return true;
}

size_t UIThreadQueue::Pump() {
  std::deque<Pending> batch;
  {
    std::lock_guard lock(mMutex);
    batch.swap(mPending);
  }
  size_t delivered = 0;
  try {
    while (!batch.empty()) {
      // Popped before delivery: a throwing listener has had its message.
      Pending next = std::move(batch.front());
      batch.pop_front();
      std::shared_ptr<Station> station = next.station.lock();
      if (!station || station->IsDisposed()) continue;
      station->BroadcastMessage(*next.message);
      ++delivered;
    }
  } catch (...) {
    // Put back what wasn't delivered, ahead of anything posted meanwhile.
    std::lock_guard lock(mMutex);
    for (auto it = batch.rbegin(); it != batch.rend(); ++it) mPending.push_front(std::move(*it));
    throw;
  }
  return delivered;
}

bool UIThreadQueue::WaitForMessages(Clock::time_point deadline) {
  std::unique_lock lock(mMutex);
  mCondition.wait_until(lock, deadline, [this] { return !mPending.empty() || mWakeRequested; });
  mWakeRequested = false;
  return !mPending.empty();
}

size_t UIThreadQueue::WaitAndPump(Clock::time_point deadline) {
  WaitForMessages(deadline);
  return Pump();
}

void UIThreadQueue::Wake() {
  {
    std::lock_guard lock(mMutex);
    mWakeRequested = true;
  }
  mCondition.notify_all();
}

size_t UIThreadQueue::GetPendingCount() const {
  std::lock_guard lock(mMutex);
  return mPending.size();
}

void UIThreadQueue::Clear() {
  std::deque<Pending> dropped;
  std::lock_guard lock(mMutex);
  dropped.swap(mPending);
}

bool PostMessageToUIThread(const utility::ImmutableString& stationID, const Message& message,
                           bool /*flag*/) {
  std::shared_ptr<Station> station = FindStation(stationID);
  if (!station) return false;
  return UIThreadQueue::Instance().Post(station, message.Clone());
}

bool AsyncBroadcastMessage(const utility::ImmutableString& stationID, const Message& message) {
  std::shared_ptr<Station> station = FindStation(stationID);
  if (!station) return false;
  return UIThreadQueue::Instance().Post(station, message.Clone());
}

size_t PumpUIThreadMessages() { return UIThreadQueue::Instance().Pump(); }

}  // namespace kilncore::messaging
