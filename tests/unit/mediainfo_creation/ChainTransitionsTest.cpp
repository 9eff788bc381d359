// The connection chain step by step: repeated and empty answers, failures,
// cancellation while waiting, and an item that goes while its project opens.

#include "CreationTestSupport.h"

#include <module/TetherMediaModule.h>
#include <requests/RequestTableForTesting.h>

#include <RL/MediaType.h>
#include <TetherMedia/RequestFutures.h>
#include <kilncore/config/KilnException.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/Operation.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::testing::Behaviour;
using tether::testing::Delivery;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

constexpr auto kPatience = std::chrono::seconds(10);

int32_t CodeOf(const kilncore::async::Future<void>& future) {
  return kilncore::config::ExtractResultFromException(future.GetException());
}

class ChainTransitionsTest : public ::testing::Test {
 protected:
  // A fully connected item of `name`, to lend its server objects to the steps.
  ItemRef Connected(const std::string& name) {
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, mFiles.Make(name), prefs), 0);
    return item;
  }
  // An unconnected item with its opening request registered.
  ItemRef Fresh(const std::string& name, kilncore::async::Future<void>& future) {
    ItemRef item = Access::MakeItem();
    Access::SetPath(*item, mFiles.Make(name), kilncore::utility::Guid::CreateUnique());
    future = Access::Register(*item);
    return item;
  }

  // Creates an item of `name` on another thread and cancels its request once
  // the chain waits on a held answer and nothing else runs. Gives the item
  // that Create left behind, by weak reference.
  std::weak_ptr<kilncore::classref::UnknownBase> CreateAndAbandon(const std::string& name) {
    const auto path = mFiles.Make(name);
    RL::BinaryData prefs = ItemPrefs();
    std::weak_ptr<kilncore::classref::UnknownBase> watch;
    auto creating = std::async(std::launch::async, [&] {
      ItemRef item;
      const int32_t result = TetherMediaInfo::Create(item, path, prefs);
      watch = item.GetOwner();
      return result;
    });
    EXPECT_TRUE(mBackend->WaitForHeld(1));
    EXPECT_TRUE(mBackend->WaitForIdle());
    CancelRequest(path, ItemID());
    EXPECT_EQ(creating.wait_for(kPatience), std::future_status::ready);
    EXPECT_EQ(creating.get(), kNoLinkedSource);
    return watch;
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

TEST_F(ChainTransitionsTest, RefusedTypedServerFailsTheRequestWithTheGeneralCode) {
  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.marlp", future);
  Access::OnMarlServerStatus(*item, tether::kConnectionStatusNotFound, nullptr);
  ASSERT_TRUE(future.IsReady());
  EXPECT_EQ(CodeOf(future), kGeneralFailure);
  EXPECT_EQ(mBackend->CallCount(Operation::kConnectLinkedServer), 0u);
}

TEST_F(ChainTransitionsTest, NullServerWithStatus0EndsTheWaitWithoutFailure) {
  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.marlp", future);
  Access::OnMarlServerStatus(*item, tether::kConnectionStatusOK, nullptr);
  ASSERT_TRUE(future.IsReady());
  EXPECT_EQ(CodeOf(future), 0);
  EXPECT_FALSE(item->GetTypedServer());
  EXPECT_FALSE(Access::HasLinkedSource(*item));
}

TEST_F(ChainTransitionsTest, RepeatedTypedServerAnswerEndsTheWaitAndDoesNotConnectTwice) {
  const ItemRef lender = Connected("Lender.marlp");
  const auto server = std::dynamic_pointer_cast<tether::MarlServer>(lender->GetTypedServer());
  ASSERT_TRUE(server);
  ASSERT_TRUE(mBackend->WaitForIdle());
  mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kHold));

  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.marlp", future);
  Access::OnMarlServerStatus(*item, tether::kConnectionStatusOK, server);
  ASSERT_TRUE(mBackend->WaitForHeld(1));
  ASSERT_TRUE(item->GetLinkedServer());
  const size_t connects = mBackend->CallCount(Operation::kConnectLinkedServer);

  Access::OnMarlServerStatus(*item, tether::kConnectionStatusOK, server);
  EXPECT_EQ(mBackend->CallCount(Operation::kConnectLinkedServer), connects);
  ASSERT_TRUE(future.IsReady());
  EXPECT_EQ(CodeOf(future), 0);
  mBackend->ReleaseAllHeld();
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(ChainTransitionsTest, UnkeptTypedServerIsNotStored) {
  const ItemRef lender = Connected("Lender.spkscene");
  const auto server = std::dynamic_pointer_cast<tether::SprocketServer>(lender->GetTypedServer());
  ASSERT_TRUE(server);
  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.spkproj", future);
  Access::OnSprocketServerStatus(*item, tether::kConnectionStatusFailed, server);
  EXPECT_FALSE(item->GetTypedServer());
  EXPECT_EQ(CodeOf(future), kGeneralFailure);
}

TEST_F(ChainTransitionsTest, SecondLinkedServerAnswerWithAProjectOnlyReplacesTheServer) {
  const ItemRef item = Connected("A.marlp");
  const ItemRef other = Connected("B.marlp");
  ASSERT_TRUE(mBackend->WaitForIdle());
  const size_t progress = mBackend->CallCount(Operation::kSetProgressCallback);
  const size_t opens = mBackend->CallCount(Operation::kOpenProject);

  Access::OnLinkedServerStatus(*item, tether::kConnectionStatusOK, other->GetLinkedServer());
  EXPECT_EQ(item->GetLinkedServer(), other->GetLinkedServer());
  EXPECT_EQ(mBackend->CallCount(Operation::kSetProgressCallback), progress + 1);
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProject), opens);
}

TEST_F(ChainTransitionsTest, FileServerAnswerForAnItemWithASourceOpensNothing) {
  const ItemRef lender = Connected("Lender.xml");
  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.xml", future);
  Access::SetSource(*item, Access::Source(*lender));
  const size_t opens = mBackend->CallCount(Operation::kOpenFile);

  Access::OnFileServerStatus(*item, tether::kConnectionStatusOK, lender->GetFileServer());
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenFile), opens);
  EXPECT_EQ(item->GetFileServer(), lender->GetFileServer());
  EXPECT_FALSE(future.IsReady());
}

TEST_F(ChainTransitionsTest, FailedProjectIsStoredAndFailsTheRequest) {
  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.marlp", future);
  Access::OnProjectStatus(*item, tether::kConnectionStatusFailed, nullptr);
  EXPECT_EQ(CodeOf(future), kGeneralFailure);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetSource), 0u);
}

TEST_F(ChainTransitionsTest, FailedSourceIsStoredAndLeavesNoLinkedSource) {
  const ItemRef lender = Connected("Lender.marlp");
  kilncore::async::Future<void> future;
  ItemRef item = Fresh("A.marlp", future);
  const auto source = Access::Source(*lender);
  Access::OnSourceStatus(*item, tether::kConnectionStatusFailed, source);
  EXPECT_EQ(Access::Source(*item), source);
  EXPECT_FALSE(Access::HasLinkedSource(*item));
  EXPECT_EQ(CodeOf(future), kGeneralFailure);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(ChainTransitionsTest, SecondSourceAnswerKeepsTheLinkedSource) {
  const ItemRef item = Connected("A.marlp");
  const auto source = Access::Source(*item);
  const auto linked = item->GetStream(RL::kMediaType_Video, 0);
  Access::OnSourceStatus(*item, tether::kConnectionStatusOK, source);
  EXPECT_TRUE(item->GetStream(RL::kMediaType_Video, 0) == linked);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(ChainTransitionsTest, ItemReleasedWhileItsProjectOpensIsLeftAlone) {
  // The typed server answers inside its call, so that its callback, the one
  // strong reference of the chain, is gone by the time Create returns.
  mBackend->Script(Operation::kCreateMarlServer, Behaviour().With(Delivery::kSynchronous));
  mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kHold));
  const auto watch = CreateAndAbandon("A.marlp");
  // Nothing holds the item now but the held answer's weak reference.
  EXPECT_TRUE(watch.expired());

  mBackend->ReleaseAllHeld();
  ASSERT_TRUE(mBackend->WaitForIdle());
  EXPECT_EQ(mBackend->CallCount(Operation::kGetSource), 0u);
  EXPECT_TRUE(mBackend->CallbackExceptions().empty());
}

TEST_F(ChainTransitionsTest, FirstCallbackAloneKeepsAnAbandonedItemUntilItHasRun) {
  mBackend->Script(Operation::kCreateMarlServer, Behaviour().With(Delivery::kHold));
  mBackend->Script(Operation::kConnectLinkedServer, Behaviour().With(Delivery::kHold));
  const auto watch = CreateAndAbandon("A.marlp");
  EXPECT_FALSE(watch.expired());

  // Run here, so that the callback has been destroyed when this returns.
  ASSERT_TRUE(mBackend->RunHeldHere(mBackend->Held()[0].id));
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(mBackend->CallCount(Operation::kConnectLinkedServer), 1u);
  mBackend->ReleaseAllHeld();
  ASSERT_TRUE(mBackend->WaitForIdle());
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProject), 0u);
  EXPECT_TRUE(mBackend->CallbackExceptions().empty());
}

TEST_F(ChainTransitionsTest, CancelImportFromAnotherThreadEndsTheWaitPromptly) {
  mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kHold));
  const auto path = mFiles.Make("A.marlp");
  RL::BinaryData prefs = ItemPrefs();
  auto creating = std::async(std::launch::async, [&] {
    ItemRef item;
    return TetherMediaInfo::Create(item, path, prefs);
  });
  ASSERT_TRUE(mBackend->WaitForHeld(1));
  auto module = std::make_shared<TetherMediaModule>();
  std::async(std::launch::async, [&] { module->CancelImport(path, ItemPrefs()); }).get();

  ASSERT_EQ(creating.wait_for(kPatience), std::future_status::ready);
  EXPECT_EQ(creating.get(), kNoLinkedSource);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  mBackend->ReleaseAllHeld();
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(ChainTransitionsTest, SecondCreateWhileTheFirstIsOpenEndsAtOnceWithoutAnItem) {
  mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kHold));
  const auto path = mFiles.Make("A.marlp");
  auto first = std::async(std::launch::async, [&] {
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    return TetherMediaInfo::Create(item, path, prefs);
  });
  ASSERT_TRUE(mBackend->WaitForHeld(1));
  {
    mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kDrop));
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, path, prefs), kNoLinkedSource);
  }
  mBackend->ReleaseAllHeld();
  ASSERT_EQ(first.wait_for(kPatience), std::future_status::ready);
  EXPECT_EQ(first.get(), 0);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(ChainTransitionsTest, ChainRunsToTheEndManyTimesOnWorkerThreads) {
  for (int round = 0; round < 40; ++round) {
    RL::BinaryData prefs = BuildPrefsWithApplicationSpecificRenderOptions(
        kilncore::utility::Guid::CreateUnique().AsString(), {});
    ItemRef item;
    const auto path = mFiles.Make(round % 2 ? "A.marlp" : "B.xml");
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
    EXPECT_TRUE(Access::HasLinkedSource(*item));
  }
  ASSERT_TRUE(mBackend->WaitForIdle());
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

}  // namespace
}  // namespace TetherMedia
