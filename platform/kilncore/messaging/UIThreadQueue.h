#pragma once

#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/Station.h>
#include <kilncore/utility/ImmutableString.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace kilncore::messaging {

// Messages waiting for the host's user-interface thread.
//
// Any thread posts; the UI thread pumps, and each pumped message is broadcast
// to its station's listeners on the pumping thread, in posting order. A message
// whose station has been disposed of by then is dropped. Thread-safe; no lock
// of the queue is held while listeners run.
//
// The process has one queue, Instance(), which PostMessageToUIThread and
// AsyncBroadcastMessage feed. A host's main loop pumps it:
//
//   while (running) {
//     UIThreadQueue::Instance().WaitForMessages(deadline);
//     UIThreadQueue::Instance().Pump();
//   }
class UIThreadQueue {
 public:
  using Clock = std::chrono::steady_clock;

  UIThreadQueue();
  ~UIThreadQueue();
  UIThreadQueue(const UIThreadQueue&) = delete;
  UIThreadQueue& operator=(const UIThreadQueue&) = delete;

  // The process's queue, never destroyed.
  static UIThreadQueue& Instance();

  // Queues `message` (which the queue now shares; it must not change) for
  // `station`. False, and nothing queued, if the station is null or disposed.
  bool Post(const std::shared_ptr<Station>& station, std::shared_ptr<const Message> message);

  // Delivers the messages that were queued when the call began, on this thread,
  // and returns how many were delivered (dropped ones don't count). Messages
  // posted meanwhile, also by the listeners, wait for the next Pump. If a
  // listener throws, the exception passes to the caller and the messages not yet
  // delivered stay queued, in order.
  size_t Pump();

  // Blocks until a message is queued, Wake() is called, or `deadline` passes.
  // True if a message is queued.
  bool WaitForMessages(Clock::time_point deadline);

  // WaitForMessages, then Pump.
  size_t WaitAndPump(Clock::time_point deadline);

  // Ends the current and next wait of WaitForMessages, as a host does when its
  // main loop must stop.
  void Wake();

  size_t GetPendingCount() const;

  // Drops everything queued.
  void Clear();

 private:
  struct Pending {
    std::weak_ptr<Station> station;
    std::shared_ptr<const Message> message;
  };

  mutable std::mutex mMutex;
  std::condition_variable mCondition;
  std::deque<Pending> mPending;
  bool mWakeRequested = false;
};

// Queues a copy (Clone) of `message` for the listeners of the station
// `stationID`, to be delivered on the UI thread by UIThreadQueue::Instance().
// Nothing is queued, and the result is false, if the station doesn't exist.
// `flag` is the host's messaging protocol's hint, kept for callers that state
// it; this queue delivers every message the same way, in order.
bool PostMessageToUIThread(const utility::ImmutableString& stationID, const Message& message,
                           bool flag);

// Sends a copy of `message` to the station's listeners without waiting for them:
// it joins the UI queue, so that listeners of a station are always called on one
// thread. False if the station doesn't exist.
bool AsyncBroadcastMessage(const utility::ImmutableString& stationID, const Message& message);

// UIThreadQueue::Instance().Pump(): for the host's UI thread.
size_t PumpUIThreadMessages();

}  // namespace kilncore::messaging
