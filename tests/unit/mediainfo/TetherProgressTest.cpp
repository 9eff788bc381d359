#include "MediaInfoTestSupport.h"

#include <mediainfo/TetherProgress.h>

#include <TetherMedia/Lifecycle.h>

#include <WF/ReferenceImporterFactory.h>

#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::messaging::Message;
using kilncore::messaging::UIThreadQueue;
using kilncore::utility::Guid;

const kilncore::WideString kPath = u"/Volumes/Show/Opening.marlp";
const Guid kSourceID("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");

// Each test starts with the module initialised, so that the progress station
// exists, and an empty UI queue; it must leave Initialize and Shutdown balanced.
class TetherProgressTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WF::RegisterReferenceImporterFactory();
    UIThreadQueue::Instance().Clear();
    ASSERT_EQ(Initialize(), 0);
    mInitialized = true;
  }
  void TearDown() override {
    RemoveListener();
    if (mInitialized) Shutdown();
    UIThreadQueue::Instance().Clear();
    WF::RegisterReferenceImporterFactory();
  }

  std::shared_ptr<kilncore::messaging::Station> ProgressStation() {
    return kilncore::messaging::FindStation(GetProgressStation());
  }

  // Keeps every TetherProgress that reaches the station, with the thread it
  // came on.
  void Listen() {
    auto station = ProgressStation();
    ASSERT_NE(station, nullptr);
    mListenerID = station->AddListener([this](const Message& message) {
      if (const auto* progress = kilncore::messaging::MessageCast<TetherProgress>(message)) {
        mReceived.push_back(*progress);
        mDeliveryThreads.push_back(std::this_thread::get_id());
      }
    });
  }
  void RemoveListener() {
    if (mListenerID == 0) return;
    if (auto station = ProgressStation()) station->RemoveListener(mListenerID);
    mListenerID = 0;
  }
  void ShutDownModule() {
    RemoveListener();
    Shutdown();
    mInitialized = false;
  }

  bool mInitialized = false;
  uint64_t mListenerID = 0;
  std::vector<TetherProgress> mReceived;
  std::vector<std::thread::id> mDeliveryThreads;
};

TEST_F(TetherProgressTest, ReportWithListenerIsDeliveredOnTheUIThreadQueue) {
  Listen();
  std::thread server([] {
    TestMediaInfo::RebroadcastTetherProgress("$$$/Marl/Loading", {u"fonts", u"3"}, kPath, kSourceID,
                                             0.25);
  });
  server.join();
  // Nothing is delivered on the reporting thread: the report waits for the UI
  // thread to pump.
  EXPECT_TRUE(mReceived.empty());
  EXPECT_EQ(UIThreadQueue::Instance().GetPendingCount(), 1u);

  EXPECT_EQ(kilncore::messaging::PumpUIThreadMessages(), 1u);
  ASSERT_EQ(mReceived.size(), 1u);
  EXPECT_EQ(mDeliveryThreads.front(), std::this_thread::get_id());
  const TetherProgress& progress = mReceived.front();
  EXPECT_EQ(progress.GetProgressType(), "$$$/Marl/Loading");
  EXPECT_EQ(progress.GetProgressArguments(), (std::vector<kilncore::WideString>{u"fonts", u"3"}));
  EXPECT_EQ(progress.GetFilePath(), kPath);
  EXPECT_EQ(progress.GetSourceID(), kSourceID);
  EXPECT_EQ(progress.GetProgress(), 0.25);
}

TEST_F(TetherProgressTest, ReportWithoutListenerPostsNothing) {
  TestMediaInfo::RebroadcastTetherProgress("$$$/Marl/Loading", {}, kPath, kSourceID, 0.5);
  EXPECT_EQ(UIThreadQueue::Instance().GetPendingCount(), 0u);
}

TEST_F(TetherProgressTest, ReportAfterShutdownPostsNothing) {
  Listen();
  ShutDownModule();
  ASSERT_EQ(ProgressStation(), nullptr);
  TestMediaInfo::RebroadcastTetherProgress("$$$/Marl/Loading", {}, kPath, kSourceID, 0.5);
  EXPECT_EQ(UIThreadQueue::Instance().GetPendingCount(), 0u);
  EXPECT_EQ(kilncore::messaging::PumpUIThreadMessages(), 0u);
  EXPECT_TRUE(mReceived.empty());
}

TEST_F(TetherProgressTest, BoundProgressCallbackPassesTheServersArgumentsThrough) {
  Listen();
  tether::Server::ProgressCallback callback;
  {
    auto item = std::make_shared<TestMediaInfo>();
    callback = TestMediaInfo::BindRebroadcastTetherProgress(kPath, kSourceID);
  }
  // The item has gone; the callback still reports.
  callback("$$$/Marl/Rendering", 0.75, {u"frame", u"12"});
  ASSERT_EQ(kilncore::messaging::PumpUIThreadMessages(), 1u);
  ASSERT_EQ(mReceived.size(), 1u);
  EXPECT_EQ(mReceived.front().GetProgressType(), "$$$/Marl/Rendering");
  EXPECT_EQ(mReceived.front().GetProgress(), 0.75);
  EXPECT_EQ(mReceived.front().GetProgressArguments(),
            (std::vector<kilncore::WideString>{u"frame", u"12"}));
  EXPECT_EQ(mReceived.front().GetFilePath(), kPath);
  EXPECT_EQ(mReceived.front().GetSourceID(), kSourceID);
}

TEST(TetherProgressMessageTest, IdentifierIsTheHashOfTheClassName) {
  const TetherProgress progress("key", {}, kPath, kSourceID, 1.0);
  EXPECT_EQ(TetherProgress::GetClassMessageID(),
            kilncore::messaging::HashMessageTypeNameToMessageID("TetherMedia::TetherProgress"));
  EXPECT_EQ(progress.GetMessageID(), TetherProgress::GetClassMessageID());
  EXPECT_NE(progress.GetMessageID(), 0u);
}

TEST(TetherProgressMessageTest, CloneIsADeepCopyOfTheWholeMessage) {
  std::vector<kilncore::WideString> arguments{u"a", u"b"};
  auto original = std::make_unique<TetherProgress>("key", arguments, kPath, kSourceID, 0.5);
  const std::shared_ptr<Message> copy = original->Clone();
  original.reset();
  const auto* progress = kilncore::messaging::MessageCast<TetherProgress>(*copy);
  ASSERT_NE(progress, nullptr);
  EXPECT_EQ(progress->GetProgressType(), "key");
  EXPECT_EQ(progress->GetProgressArguments(), arguments);
  EXPECT_EQ(progress->GetFilePath(), kPath);
  EXPECT_EQ(progress->GetSourceID(), kSourceID);
  EXPECT_EQ(progress->GetProgress(), 0.5);
  EXPECT_EQ(copy->GetMessageID(), TetherProgress::GetClassMessageID());
}

}  // namespace
}  // namespace TetherMedia::testing
