#include "TestMessages.h"

#include <kilncore/messaging/Broadcaster.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace {

using kilncore::messaging::Broadcaster;
using kilncore::messaging::Message;
using kilncore::messaging::MessageCast;
using MessagingTest::TextMessage;

TEST(BroadcasterTest, HasListenersFollowsAddAndRemove) {
  Broadcaster broadcaster;
  EXPECT_FALSE(broadcaster.HasListeners());
  auto id = broadcaster.AddListener([](const Message&) {});
  EXPECT_NE(id, 0u);
  EXPECT_TRUE(broadcaster.HasListeners());
  EXPECT_TRUE(broadcaster.RemoveListener(id));
  EXPECT_FALSE(broadcaster.HasListeners());
  EXPECT_FALSE(broadcaster.RemoveListener(id));
}

TEST(BroadcasterTest, EmptyListenerIsNotAdded) {
  Broadcaster broadcaster;
  EXPECT_EQ(broadcaster.AddListener(nullptr), 0u);
  EXPECT_FALSE(broadcaster.HasListeners());
}

TEST(BroadcasterTest, BroadcastCallsListenersInOrderOnTheCallingThread) {
  Broadcaster broadcaster;
  std::vector<std::string> calls;
  const auto thread = std::this_thread::get_id();
  broadcaster.AddListener([&](const Message& m) {
    EXPECT_EQ(std::this_thread::get_id(), thread);
    calls.push_back("a:" + MessageCast<TextMessage>(m)->mText);
  });
  broadcaster.AddListener([&](const Message& m) { calls.push_back("b:" + MessageCast<TextMessage>(m)->mText); });
  broadcaster.BroadcastMessage(TextMessage("x"));
  EXPECT_EQ(calls, (std::vector<std::string>{"a:x", "b:x"}));
}

TEST(BroadcasterTest, ListenerMayRemoveItselfDuringTheBroadcast) {
  Broadcaster broadcaster;
  int calls = 0;
  Broadcaster::ListenerID id = 0;
  id = broadcaster.AddListener([&](const Message&) {
    ++calls;
    EXPECT_TRUE(broadcaster.RemoveListener(id));
  });
  broadcaster.BroadcastMessage(TextMessage("1"));
  broadcaster.BroadcastMessage(TextMessage("2"));
  EXPECT_EQ(calls, 1);
}

TEST(BroadcasterTest, ListenerRemovedByAnEarlierOneIsNotCalled) {
  Broadcaster broadcaster;
  int secondCalls = 0;
  Broadcaster::ListenerID second = 0;
  broadcaster.AddListener([&](const Message&) { broadcaster.RemoveListener(second); });
  second = broadcaster.AddListener([&](const Message&) { ++secondCalls; });
  broadcaster.BroadcastMessage(TextMessage("x"));
  EXPECT_EQ(secondCalls, 0);
}

TEST(BroadcasterTest, ListenerAddedDuringABroadcastWaitsForTheNext) {
  Broadcaster broadcaster;
  int lateCalls = 0;
  bool added = false;
  broadcaster.AddListener([&](const Message&) {
    if (!added) {
      added = true;
      broadcaster.AddListener([&](const Message&) { ++lateCalls; });
    }
  });
  broadcaster.BroadcastMessage(TextMessage("1"));
  EXPECT_EQ(lateCalls, 0);
  broadcaster.BroadcastMessage(TextMessage("2"));
  EXPECT_EQ(lateCalls, 1);
}

TEST(BroadcasterTest, RemoveListenerWaitsForACallInProgress) {
  Broadcaster broadcaster;
  std::latch entered(1);
  std::latch release(1);
  std::atomic<bool> finished{false};
  auto id = broadcaster.AddListener([&](const Message&) {
    entered.count_down();
    release.wait();
    finished = true;
  });
  std::thread sender([&] { broadcaster.BroadcastMessage(TextMessage("x")); });
  entered.wait();
  std::atomic<bool> removed{false};
  std::thread remover([&] {
    broadcaster.RemoveListener(id);
    removed = true;
    // The call had to end before the removal returned.
    EXPECT_TRUE(finished.load());
  });
  release.count_down();
  remover.join();
  sender.join();
  EXPECT_TRUE(removed.load());
}

TEST(BroadcasterTest, ConcurrentBroadcastsAndListenerChangesAreSafe) {
  Broadcaster broadcaster;
  std::atomic<int> calls{0};
  broadcaster.AddListener([&](const Message&) { ++calls; });
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) broadcaster.BroadcastMessage(TextMessage("x"));
    });
  }
  threads.emplace_back([&] {
    for (int i = 0; i < 500; ++i) {
      auto id = broadcaster.AddListener([](const Message&) {});
      broadcaster.RemoveListener(id);
    }
  });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(calls.load(), 1000);
}

TEST(BroadcasterTest, ListenerMayReleaseItsStateOnceRemoved) {
  Broadcaster broadcaster;
  std::atomic<bool> stop{false};
  std::thread sender([&] {
    while (!stop.load()) broadcaster.BroadcastMessage(TextMessage("x"));
  });
  for (int round = 0; round < 200; ++round) {
    auto state = std::make_unique<int>(round);
    int* raw = state.get();
    auto id = broadcaster.AddListener([raw, round](const Message&) { EXPECT_EQ(*raw, round); });
    broadcaster.RemoveListener(id);
    state.reset();  // a call still running would now read freed memory
  }
  stop = true;
  sender.join();
}

TEST(BroadcasterTest, ListenerExceptionReachesTheBroadcaster) {
  Broadcaster broadcaster;
  broadcaster.AddListener([](const Message&) { throw std::runtime_error("listener"); });
  EXPECT_THROW(broadcaster.BroadcastMessage(TextMessage("x")), std::runtime_error);
}

}  // namespace
