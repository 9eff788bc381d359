#include "TestMessages.h"

#include <kilncore/messaging/ManagedStation.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using kilncore::messaging::AsyncBroadcastMessage;
using kilncore::messaging::DisposeStation;
using kilncore::messaging::ManagedStation;
using kilncore::messaging::Message;
using kilncore::messaging::MessageCast;
using kilncore::messaging::PostMessageToUIThread;
using kilncore::messaging::PumpUIThreadMessages;
using kilncore::messaging::RegisterStation;
using kilncore::messaging::UIThreadQueue;
using kilncore::messaging::UniqueStationID;
using MessagingTest::TextMessage;
using Clock = std::chrono::steady_clock;

// Every test starts from an empty process queue.
class UIThreadQueueTest : public ::testing::Test {
 protected:
  void SetUp() override { UIThreadQueue::Instance().Clear(); }
  void TearDown() override { UIThreadQueue::Instance().Clear(); }

  static Clock::time_point Soon() { return Clock::now() + std::chrono::seconds(30); }
};

TEST_F(UIThreadQueueTest, PostedMessageIsDeliveredAsACopyOnThePumpingThread) {
  ManagedStation station;
  std::vector<std::string> texts;
  std::thread::id deliveredOn;
  const Message* delivered = nullptr;
  station.GetStation()->AddListener([&](const Message& m) {
    deliveredOn = std::this_thread::get_id();
    delivered = &m;
    texts.push_back(MessageCast<TextMessage>(m)->mText);
  });

  auto original = std::make_unique<TextMessage>("progress");
  std::thread poster([&] {
    EXPECT_TRUE(PostMessageToUIThread(station.GetStationID(), *original, true));
    original.reset();  // the queue holds its own copy
  });
  poster.join();
  EXPECT_TRUE(texts.empty());  // nothing is delivered before the pump

  EXPECT_EQ(PumpUIThreadMessages(), 1u);
  EXPECT_EQ(texts, std::vector<std::string>{"progress"});
  EXPECT_EQ(deliveredOn, std::this_thread::get_id());
  EXPECT_NE(delivered, nullptr);
}

TEST_F(UIThreadQueueTest, MessageToADisposedStationIsDropped) {
  const auto id = UniqueStationID();
  auto station = RegisterStation(id, 0);
  int calls = 0;
  station->AddListener([&](const Message&) { ++calls; });
  EXPECT_TRUE(PostMessageToUIThread(id, TextMessage("late"), false));
  DisposeStation(id);
  EXPECT_EQ(PumpUIThreadMessages(), 0u);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(UIThreadQueue::Instance().GetPendingCount(), 0u);
}

TEST_F(UIThreadQueueTest, MessageToAStationThatWentWithItsOwnerIsDropped) {
  int calls = 0;
  {
    ManagedStation station;
    station.GetStation()->AddListener([&](const Message&) { ++calls; });
    PostMessageToUIThread(station.GetStationID(), TextMessage("x"), true);
  }
  EXPECT_EQ(PumpUIThreadMessages(), 0u);
  EXPECT_EQ(calls, 0);
}

TEST_F(UIThreadQueueTest, PostToAnUnknownStationQueuesNothing) {
  EXPECT_FALSE(PostMessageToUIThread(UniqueStationID(), TextMessage("x"), true));
  EXPECT_FALSE(AsyncBroadcastMessage(UniqueStationID(), TextMessage("x")));
  EXPECT_EQ(UIThreadQueue::Instance().GetPendingCount(), 0u);
}

TEST_F(UIThreadQueueTest, MessagesArriveInPostingOrderAcrossStations) {
  ManagedStation a;
  ManagedStation b;
  std::vector<std::string> order;
  auto record = [&](const Message& m) { order.push_back(MessageCast<TextMessage>(m)->mText); };
  a.GetStation()->AddListener(record);
  b.GetStation()->AddListener(record);
  PostMessageToUIThread(a.GetStationID(), TextMessage("1"), true);
  PostMessageToUIThread(b.GetStationID(), TextMessage("2"), false);
  AsyncBroadcastMessage(a.GetStationID(), TextMessage("3"));
  EXPECT_EQ(PumpUIThreadMessages(), 3u);
  EXPECT_EQ(order, (std::vector<std::string>{"1", "2", "3"}));
}

TEST_F(UIThreadQueueTest, MessagesPostedByListenersWaitForTheNextPump) {
  ManagedStation station;
  int calls = 0;
  station.GetStation()->AddListener([&](const Message&) {
    if (++calls == 1) PostMessageToUIThread(station.GetStationID(), TextMessage("again"), true);
  });
  PostMessageToUIThread(station.GetStationID(), TextMessage("first"), true);
  EXPECT_EQ(PumpUIThreadMessages(), 1u);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(PumpUIThreadMessages(), 1u);
  EXPECT_EQ(calls, 2);
}

TEST_F(UIThreadQueueTest, StationWithoutListenersSwallowsTheMessage) {
  ManagedStation station;
  EXPECT_TRUE(PostMessageToUIThread(station.GetStationID(), TextMessage("x"), true));
  EXPECT_EQ(PumpUIThreadMessages(), 1u);
}

TEST_F(UIThreadQueueTest, WaitForMessagesWakesWhenAnotherThreadPosts) {
  ManagedStation station;
  std::atomic<int> calls{0};
  station.GetStation()->AddListener([&](const Message&) { ++calls; });
  std::latch waiting(1);
  std::thread poster([&] {
    waiting.wait();
    PostMessageToUIThread(station.GetStationID(), TextMessage("x"), true);
  });
  waiting.count_down();
  EXPECT_TRUE(UIThreadQueue::Instance().WaitForMessages(Soon()));
  EXPECT_EQ(UIThreadQueue::Instance().Pump(), 1u);
  poster.join();
  EXPECT_EQ(calls.load(), 1);
}

TEST_F(UIThreadQueueTest, WaitForMessagesReturnsFalseAtTheDeadline) {
  UIThreadQueue queue;
  EXPECT_FALSE(queue.WaitForMessages(Clock::now() + std::chrono::milliseconds(5)));
  EXPECT_FALSE(queue.WaitForMessages(Clock::now() - std::chrono::seconds(1)));
}

TEST_F(UIThreadQueueTest, WakeEndsAWaitWithoutMessages) {
  UIThreadQueue queue;
  std::thread waker([&] { queue.Wake(); });
  EXPECT_FALSE(queue.WaitForMessages(Soon()));
  waker.join();
}

TEST_F(UIThreadQueueTest, ListenerExceptionLeavesTheRestQueued) {
  ManagedStation station;
  std::vector<std::string> seen;
  station.GetStation()->AddListener([&](const Message& m) {
    const std::string& text = MessageCast<TextMessage>(m)->mText;
    seen.push_back(text);
    if (text == "bad") throw std::runtime_error("listener failed");
  });
  for (const char* text : {"ok", "bad", "after"}) {
    PostMessageToUIThread(station.GetStationID(), TextMessage(text), true);
  }
  EXPECT_THROW(PumpUIThreadMessages(), std::runtime_error);
  EXPECT_EQ(UIThreadQueue::Instance().GetPendingCount(), 1u);
  EXPECT_EQ(PumpUIThreadMessages(), 1u);
  EXPECT_EQ(seen, (std::vector<std::string>{"ok", "bad", "after"}));
}

TEST_F(UIThreadQueueTest, ManyPostingThreadsWhileTheUIThreadPumps) {
  constexpr int kThreads = 4;
  constexpr int kPerThread = 250;
  ManagedStation station;
  int received = 0;  // only the pumping thread touches it
  std::vector<int> lastPerThread(kThreads, -1);
  bool inOrder = true;
  station.GetStation()->AddListener([&](const Message& m) {
    const auto& values = MessageCast<TextMessage>(m)->mValues;
    const int thread = values[0];
    const int index = values[1];
    if (index != lastPerThread[thread] + 1) inOrder = false;
    lastPerThread[thread] = index;
    ++received;
  });
  std::vector<std::thread> posters;
  for (int t = 0; t < kThreads; ++t) {
    posters.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        PostMessageToUIThread(station.GetStationID(), TextMessage("p", {t, i}), true);
      }
    });
  }
  while (received < kThreads * kPerThread) UIThreadQueue::Instance().WaitAndPump(Soon());
  for (auto& poster : posters) poster.join();
  EXPECT_EQ(received, kThreads * kPerThread);
  EXPECT_TRUE(inOrder);  // each thread's messages keep their order
}

TEST_F(UIThreadQueueTest, DisposalRacingWithPostsNeverDeliversAfterDisposal) {
  for (int round = 0; round < 50; ++round) {
    const auto id = UniqueStationID();
    auto station = RegisterStation(id, 0);
    std::atomic<bool> disposed{false};
    std::atomic<int> lateDeliveries{0};
    station->AddListener([&](const Message&) {
      if (disposed.load()) ++lateDeliveries;
    });
    std::thread poster([&] {
      for (int i = 0; i < 20; ++i) PostMessageToUIThread(id, TextMessage("x"), true);
    });
    std::thread disposer([&] {
      DisposeStation(id);
      disposed = true;
    });
    poster.join();
    disposer.join();
    PumpUIThreadMessages();
    EXPECT_EQ(lateDeliveries.load(), 0);
  }
}

}  // namespace
