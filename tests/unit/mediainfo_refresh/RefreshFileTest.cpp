// Refresh of a linked item: whether its content moved on, the swap of the new
// server-side source into the same stream object, and the messages that tell
// the host.

#include "RefreshTestSupport.h"

#include <KL/FarsideAvailability.h>
#include <kilncore/config/UsageLogger.h>
#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/Operation.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace TetherMedia {
namespace {

using namespace testing_support;
using kilncore::utility::Guid;
using tether::testing::Behaviour;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

const Guid kFirstState(u"0A0A0A0A-1111-4222-8333-000000000001");
const Guid kSecondState(u"0A0A0A0A-1111-4222-8333-000000000002");
const Guid kThirdState(u"0A0A0A0A-1111-4222-8333-000000000003");

class RefreshFileTest : public ::testing::Test {
 protected:
  void SetUp() override { mBackend->SetSource(ItemID(), SourceWithState(kFirstState)); }

  ItemRef OpenLocal(const std::string& name) {
    mPath = mFiles.Make(name);
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, mPath, prefs), 0);
    EXPECT_TRUE(mBackend->WaitForIdle());
    return item;
  }

  ItemRef OpenRemote(const boost::optional<kilncore::utility::ImmutableString>& linkedText) {
    KL::SetFarsideClientAvailable(true);
    tether::FarsideAssetRequestInfo request;
    request.serverAddress = "https://farside.example";
    request.production = "Trailer";
    request.asset = "Titles";
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, request, tether::kFarsideAssetServerTypeMarl, prefs, linkedText), 0);
    EXPECT_TRUE(mBackend->WaitForIdle());
    return item;
  }

  void TearDown() override { KL::SetFarsideClientAvailable(false); }

  Guid StreamContentState(const TetherMediaInfo& item) {
    Guid state;
    Access::LinkedSource(item)->GetContentState(state);
    return state;
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
  kilncore::WideString mPath;
};

TEST_F(RefreshFileTest, EmptyPathOfALocalItemPostsOffline) {
  ItemRef item = OpenLocal("Titles.marlp");
  ItemMessages messages(*item);
  EXPECT_EQ(item->RefreshFile(u""), 0);
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Deleted(), 1);
  EXPECT_EQ(messages.Changed(), 0);
}

TEST_F(RefreshFileTest, EmptyPathOfARemoteItemDoesNothing) {
  ItemRef item = OpenRemote(kilncore::utility::ImmutableString("{\"asset\":\"Titles\"}"));
  ItemMessages messages(*item);
  const size_t opened = mBackend->CallCount(Operation::kOpenFarsideAsset);
  EXPECT_EQ(item->RefreshFile(u""), 0);
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenFarsideAsset), opened);
}

TEST_F(RefreshFileTest, PathOfAnotherExistingFileDoesNothing) {
  ItemRef item = OpenLocal("Titles.marlp");
  const kilncore::WideString other = mFiles.Make("Other.marlp");
  ItemMessages messages(*item);
  const size_t asked = mBackend->CallCount(Operation::kGetSource);
  EXPECT_EQ(item->RefreshFile(other), 0);
  messages.Deliver(*mBackend);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetSource), asked);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_EQ(messages.Changed(), 0);
}

TEST_F(RefreshFileTest, RemovedFilePostsOfflineWithoutAskingTheServer) {
  ItemRef item = OpenLocal("Titles.marlp");
  std::filesystem::remove(Utf8(mPath));
  ItemMessages messages(*item);
  const size_t asked = mBackend->CallCount(Operation::kGetSource);
  EXPECT_EQ(item->RefreshFile(mPath), 0);
  messages.Deliver(*mBackend);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetSource), asked);
  EXPECT_EQ(messages.Deleted(), 1);
  // Offline items stay usable: nothing is cleared.
  EXPECT_TRUE(Access::Source(*item));
  EXPECT_TRUE(Access::HasLinkedSource(*item));
}

TEST_F(RefreshFileTest, EqualContentStateKeepsTheSourceSendsNothingAndTraces) {
  ItemRef item = OpenLocal("Titles.marlp");
  const auto before = Access::Source(*item);
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 6);
  ItemMessages messages(*item);
  EXPECT_EQ(item->RefreshFile(mPath), 0);
  messages.Deliver(*mBackend);
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 0);
  EXPECT_EQ(Access::Source(*item), before);
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_TRUE(capture.Contains("TetherMediaInfo",
                               "OnRefreshFileAsync, no changes detected, linked source was not updated."));
}

TEST_F(RefreshFileTest, NewContentStateSwapsTheSourceIntoTheSameStreamAndPostsChanged) {
  ItemRef item = OpenLocal("Titles.marlp");
  const auto stream = Access::LinkedSource(*item);
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 6);
  ItemMessages messages(*item);
  mBackend->SetSource(ItemID(), SourceWithState(kSecondState));
  EXPECT_EQ(item->RefreshFile(mPath), 0);
  messages.Deliver(*mBackend);
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 0);
  EXPECT_EQ(messages.Changed(), 1);
  EXPECT_EQ(Access::LinkedSource(*item).Get(), stream.Get());
  EXPECT_EQ(StreamContentState(*item), kSecondState);
  EXPECT_EQ(Access::Source(*item)->GetContentState(), kSecondState);
  EXPECT_EQ(stream->GetSource(), Access::Source(*item));
  EXPECT_TRUE(capture.Contains("TetherMediaInfo", "current content state = " + kFirstState.AsUTF8String() +
                                                      " new content state = " + kSecondState.AsUTF8String() +
                                                      " project = "));
}

TEST_F(RefreshFileTest, TwoRefreshesThatFindNewStatesSendTwoChangedMessages) {
  ItemRef item = OpenLocal("Titles.marlp");
  ItemMessages messages(*item);
  mBackend->SetSource(ItemID(), SourceWithState(kSecondState));
  item->RefreshFile(mPath);
  messages.Deliver(*mBackend);
  mBackend->SetSource(ItemID(), SourceWithState(kThirdState));
  item->RefreshFile(mPath);
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Changed(), 2);
  EXPECT_EQ(StreamContentState(*item), kThirdState);
}

TEST_F(RefreshFileTest, RefusedRefreshPostsOfflineAndKeepsTheOldSource) {
  ItemRef item = OpenLocal("Titles.marlp");
  const auto before = Access::Source(*item);
  ItemMessages messages(*item);
  mBackend->ScriptNext(Operation::kGetSource, Behaviour::Fail());
  item->RefreshFile(mPath);
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Deleted(), 1);
  EXPECT_EQ(Access::Source(*item), before);
}

TEST_F(RefreshFileTest, NullSourceWithSuccessPostsOffline) {
  ItemRef item = OpenLocal("Titles.marlp");
  ItemMessages messages(*item);
  mBackend->ScriptNext(Operation::kGetSource, Behaviour::NullResult());
  item->RefreshFile(mPath);
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Deleted(), 1);
}

TEST_F(RefreshFileTest, PlainFileItemIsOfflineEvenThoughItsFileExists) {
  // An interchange file is opened by the file server and has no project, so
  // refresh has nothing to ask and declares it gone.
  ItemRef item = OpenLocal("Cut.xml");
  ASSERT_FALSE(item->GetProject());
  ItemMessages messages(*item);
  item->RefreshFile(mPath);
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Deleted(), 1);
}

TEST_F(RefreshFileTest, RemoteItemWithoutLinkedAssetTextIsNeverRefreshed) {
  ItemRef item = OpenRemote(boost::none);
  ItemMessages messages(*item);
  const size_t opened = mBackend->CallCount(Operation::kOpenFarsideAsset);
  item->RefreshFile(item->GetFilePath());
  messages.Deliver(*mBackend);
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenFarsideAsset), opened);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_EQ(messages.Changed(), 0);
}

TEST_F(RefreshFileTest, RemoteItemFromALinkedAssetTextOpensItsAssetAgain) {
  ItemRef item = OpenRemote(kilncore::utility::ImmutableString("{\"asset\":\"Titles\"}"));
  ItemMessages messages(*item);
  const size_t opened = mBackend->CallCount(Operation::kOpenFarsideAsset);
  mBackend->SetSource(ItemID(), SourceWithState(kSecondState));
  item->RefreshFile(item->GetFilePath());
  messages.Deliver(*mBackend);
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenFarsideAsset), opened + 1);
}

TEST_F(RefreshFileTest, RefreshAnsweredAfterTheItemHasGoneDoesNothing) {
  ItemRef item = OpenLocal("Titles.marlp");
  mBackend->ScriptNext(Operation::kGetSource, Behaviour().With(tether::testing::Delivery::kHold));
  item->RefreshFile(mPath);
  ASSERT_TRUE(mBackend->WaitForHeld(1));
  item = ItemRef();
  EXPECT_EQ(mBackend->ReleaseAllHeld(), 1u);
  EXPECT_TRUE(mBackend->WaitForIdle());
  EXPECT_TRUE(mBackend->CallbackExceptions().empty());
}

class LogImportOperationTest : public RefreshFileTest {};

TEST_F(LogImportOperationTest, OpenedProjectWritesItsImportEvent) {
  auto logger = std::make_shared<kilncore::config::RecordingUsageLogger>();
  kilncore::config::ScopedUsageLogger installed(logger);
  ItemRef item = OpenLocal("Titles.marlp");
  const auto events = logger->StartedEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0]->Product(), "Tether");
  EXPECT_FALSE(events[0]->Category().has_value());
  EXPECT_EQ(events[0]->Operation(), "tether_import_op");
  EXPECT_EQ(events[0]->Subject(), Guid().AsUTF8String());
  const std::vector<std::pair<std::string, std::string>> expected{{"docid_source", "Container DocID"},
                                                                  {"import_type", ".marlp"}};
  EXPECT_EQ(events[0]->Values(), expected);
}

TEST_F(LogImportOperationTest, FailedContainerWritesNoEvent) {
  auto logger = std::make_shared<kilncore::config::RecordingUsageLogger>();
  kilncore::config::ScopedUsageLogger installed(logger);
  mBackend->Script(Operation::kGetContainer, Behaviour::Fail());
  ItemRef item = OpenLocal("Titles.marlp");
  EXPECT_TRUE(logger->StartedEvents().empty());
}

TEST_F(LogImportOperationTest, NoLoggerIsNoFailure) {
  ItemRef item = OpenLocal("Titles.marlp");
  EXPECT_TRUE(Access::HasLinkedSource(*item));
}

}  // namespace
}  // namespace TetherMedia
