// The owning application chosen from the file, and each road of the chain
// from the server link to a connected source, against the scripted double.

#include "CreationTestSupport.h"

#include <Crate/ApplicationType.h>
#include <RL/MediaType.h>
#include <WF/ImportableFileTypeUtils.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>

#include <kilncore/utility/Seam.h>

#include <gtest/gtest.h>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::testing::Behaviour;
using tether::testing::ConnectLinkedServerArgs;
using tether::testing::CreateServerArgs;
using tether::testing::IdArgs;
using tether::testing::OpenFileArgs;
using tether::testing::OpenProjectArgs;
using tether::testing::OpenProjectWithJSONArgs;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

class FileTypeRoadsTest : public ::testing::Test {
 protected:
  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

TEST_F(FileTypeRoadsTest, MarlProjectConnectsThroughItsProjectToTheItem) {
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);

  ASSERT_TRUE(item);
  EXPECT_TRUE(item->GetTypedServer());
  EXPECT_TRUE(item->GetLinkedServer());
  EXPECT_TRUE(item->GetProject());
  EXPECT_FALSE(item->GetFileServer());
  EXPECT_TRUE(Access::HasLinkedSource(*item));
  EXPECT_EQ(item->GetFilePath(), path);

  const auto creates = mBackend->Calls(Operation::kCreateMarlServer);
  ASSERT_EQ(creates.size(), 1u);
  EXPECT_EQ(creates[0].Args<CreateServerArgs>().connectionType, tether::kServerConnectionTypeDefault);
  const auto connects = mBackend->Calls(Operation::kConnectLinkedServer);
  ASSERT_EQ(connects.size(), 1u);
  EXPECT_EQ(connects[0].Args<ConnectLinkedServerArgs>().connectionType,
            tether::kServerConnectionTypeInherit);
  const auto opens = mBackend->Calls(Operation::kOpenProject);
  ASSERT_EQ(opens.size(), 1u);
  EXPECT_EQ(opens[0].Args<OpenProjectArgs>().file, tether::File(path, false));
  const auto sources = mBackend->Calls(Operation::kGetSource);
  ASSERT_EQ(sources.size(), 1u);
  EXPECT_EQ(sources[0].Args<IdArgs>().id, ItemID());
  EXPECT_EQ(mBackend->CallCount(Operation::kSetProgressCallback), 1u);
  ASSERT_TRUE(mBackend->WaitForCalls(Operation::kGetContainer, 1));
  EXPECT_EQ(mBackend->Calls(Operation::kGetContainer)[0].Args<IdArgs>().id, kilncore::utility::Guid());
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, ApplicationType8TakesTheAlternateRoad) {
  Crate::ScopedApplicationType application(8);
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  EXPECT_EQ(mBackend->Calls(Operation::kCreateMarlServer)[0].Args<CreateServerArgs>().connectionType,
            tether::kServerConnectionTypeAlternate);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, SprocketAndTolmenProjectsKeepTheirTypedServers) {
  for (const char* name : {"Scene.spkscene", "Edit.tlmproj"}) {
    SCOPED_TRACE(name);
    const auto path = mFiles.Make(name);
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
    EXPECT_TRUE(item->GetTypedServer());
    EXPECT_TRUE(item->GetProject());
  }
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateSprocketServer), 1u);
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateTolmenServer), 1u);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, PathThatPassesTheMarlAndTheSprocketTestGoesToMarl) {
  kilncore::utility::ScopedSeam sprocket(WF::ImportableFileTypeUtils::IsSprocketProjectSeam(),
                                         [](kilncore::WideStringView) { return true; });
  const auto path = mFiles.Make("Both.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateMarlServer), 1u);
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateSprocketServer), 0u);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, SprocketSourceRowIsTakenWhenTheHostsSprocketTestDeclinesTheFile) {
  // The last row of the table: a host whose Sprocket project test doesn't
  // claim the Sprocket source extension. The typed server isn't kept there.
  kilncore::utility::ScopedSeam sprocket(WF::ImportableFileTypeUtils::IsSprocketProjectSeam(),
                                         [](kilncore::WideStringView) { return false; });
  const auto path = mFiles.Make("Scene.spkproj");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  EXPECT_FALSE(sprocket.Calls().empty());
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateSprocketServer), 1u);
  EXPECT_FALSE(item->GetTypedServer());
  EXPECT_TRUE(item->GetLinkedServer());
  EXPECT_TRUE(item->GetProject());
  EXPECT_TRUE(Access::HasLinkedSource(*item));
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, FinalCutXMLIsOpenedAsAPlainFileByTolmen) {
  const auto path = mFiles.Make("Cut.xml");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);

  EXPECT_EQ(mBackend->CallCount(Operation::kCreateTolmenServer), 1u);
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateFileServerLink), 1u);
  EXPECT_EQ(mBackend->CallCount(Operation::kConnectLinkedServer), 0u);
  ASSERT_EQ(mBackend->CallCount(Operation::kOpenFile), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kOpenFile)[0].Args<OpenFileArgs>().file, tether::File(path, false));
  // The typed server of the file road isn't kept by the item.
  EXPECT_FALSE(item->GetTypedServer());
  EXPECT_TRUE(item->GetFileServer());
  EXPECT_FALSE(item->GetProject());
  EXPECT_TRUE(Access::HasLinkedSource(*item));
  EXPECT_EQ(item->GetMediaDisplayName(), Access::Source(*item)->GetName());
}

TEST_F(FileTypeRoadsTest, DarkslideCatalogueOpensInEveryApplication) {
  for (int32_t application : {0, 1, 5, 8, 11}) {
    SCOPED_TRACE(application);
    Crate::ScopedApplicationType playing(application);
    const auto path = mFiles.Make("Photos.dslcat");
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
    EXPECT_TRUE(item->GetTypedServer());
  }
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateDarkslideServer), 5u);
  // Darkslide has one road: its connection carries no type.
  for (const auto& call : mBackend->Calls(Operation::kConnectLinkedServer)) {
    EXPECT_FALSE(call.Args<ConnectLinkedServerArgs>().connectionType.has_value());
  }
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, EaselDocumentOpensOnlyInApplication11) {
  const auto path = mFiles.Make("Sketch.esd");
  {
    Crate::ScopedApplicationType playing(11);
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
    EXPECT_EQ(mBackend->CallCount(Operation::kConnectFileServer), 1u);
    EXPECT_FALSE(item->GetTypedServer());
    EXPECT_TRUE(item->GetFileServer());
  }
  {
    Crate::ScopedApplicationType playing(8);
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, path, prefs), kGeneralFailure);
  }
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateEaselServer), 1u);
}

TEST_F(FileTypeRoadsTest, FileOfNoKnownTypeFailsWithoutAServer) {
  const auto path = mFiles.Make("Notes.txt");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  EXPECT_EQ(TetherMediaInfo::Create(item, path, prefs), kGeneralFailure);
  EXPECT_TRUE(mBackend->Calls().empty());
}

TEST_F(FileTypeRoadsTest, MissingFileFailsBeforeMakingAnItem) {
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  EXPECT_EQ(TetherMediaInfo::Create(item, mFiles.Missing("Gone.marlp"), prefs), kFileMissing);
  EXPECT_FALSE(item);
  EXPECT_TRUE(mBackend->Calls().empty());
}

TEST_F(FileTypeRoadsTest, RefusedServerLinkKeepsTheTypedServerAndGivesNoItem) {
  mBackend->Script(Operation::kCreateMarlServer, Behaviour::Fail().KeepingResult());
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  EXPECT_EQ(TetherMediaInfo::Create(item, path, prefs), kNoLinkedSource);
  ASSERT_TRUE(item);
  EXPECT_TRUE(item->GetTypedServer());
  EXPECT_FALSE(item->GetLinkedServer());
  EXPECT_EQ(mBackend->CallCount(Operation::kConnectLinkedServer), 0u);
}

TEST_F(FileTypeRoadsTest, SprocketSourceWithRenderOptionsOpensWithThemAndWithoutThemPlainly) {
  const auto path = mFiles.Make("Scene.spkproj");
  const kilncore::WideString options = u"{\"quality\":\"draft\"}";
  {
    RL::BinaryData prefs = UniquePrefs(options);
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  }
  ASSERT_EQ(mBackend->CallCount(Operation::kOpenProjectWithJSON), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kOpenProjectWithJSON)[0].Args<OpenProjectWithJSONArgs>().json,
            Utf8(options));
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProject), 0u);
  {
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  }
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProjectWithJSON), 1u);
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProject), 1u);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, PrefsTooShortForASourceNameTheNilSourceWithoutOptions) {
  const auto path = mFiles.Make("Scene.spkproj");
  const uint8_t bytes[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  RL::BinaryData prefs(bytes, sizeof(bytes));
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  // No options: the project is opened plainly, not with the blob's bytes.
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProjectWithJSON), 0u);
  ASSERT_EQ(mBackend->CallCount(Operation::kGetSource), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kGetSource)[0].Args<IdArgs>().id, kilncore::utility::Guid());
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, FailedContainerRequestLeavesTheItemConnected) {
  mBackend->Script(Operation::kGetContainer, Behaviour::Fail());
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  ASSERT_TRUE(mBackend->WaitForIdle());
  EXPECT_TRUE(Access::HasLinkedSource(*item));
  EXPECT_TRUE(item->GetProject());
}

TEST_F(FileTypeRoadsTest, ProjectItemIsNamedAfterItselfAndItsProjectFile) {
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  const auto project = item->GetProject();
  ASSERT_TRUE(project);
  const kilncore::WideString file = project->GetFile().FullPath();
  const auto slash = file.find_last_of(u"/\\");
  EXPECT_EQ(item->GetMediaDisplayName(),
            Access::Source(*item)->GetName() + u"/" + file.substr(slash == file.npos ? 0 : slash + 1));
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, StreamsOfALocalItem) {
  tether::testing::ScriptedSourceSetup silent = tether::testing::ScriptedSourceSetup::Typical();
  silent.info.hasAudio = false;
  silent.info.hasVideo = false;
  mBackend->SetSource(ItemID(), silent);
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);

  // Every linked item can render a picture, whatever its server says.
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 1u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
  item->SetMediaHint(true);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 1u);
  EXPECT_EQ(item->GetNumStreams(kilncore::utility::Guid::CreateUnique()), 0u);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, AudioShownAlwaysStillNeedsTheLinkedSource) {
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef lender;
  ASSERT_EQ(TetherMediaInfo::Create(lender, path, prefs), 0);
  ItemRef item = Access::MakeItem();
  Access::SetSource(*item, Access::Source(*lender));
  Access::SetExposeAudioAlways(*item, true);
  // The source has audio, but without a stream object there is none to give.
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 1u);
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, AnswersForTheLinkedItemItself) {
  const auto path = mFiles.Make("Show.marlp");
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0);
  EXPECT_TRUE(item->IsLinkedMedia());
  kilncore::classref::InterfaceRef<KL::IMediaInfo> asMedia;
  EXPECT_EQ(item->GetMediaInfoRef(asMedia), 0);
  EXPECT_TRUE(asMedia == item);
  EXPECT_TRUE(item->GetBaseMediaInfoRef() == item);
  EXPECT_EQ(item->GetSourceName(), Access::Source(*item)->GetName());
  EXPECT_TRUE(kilncore::classref::InterfaceRef<KL::IFontSetWatcher>(asMedia));
  EXPECT_TRUE(kilncore::classref::InterfaceRef<KL::IMediaAnalysis>(asMedia));
  EXPECT_TRUE(kilncore::classref::InterfaceRef<TetherMediaInfo>(asMedia));
  item->SetUsePreviewFiles(true);
  EXPECT_TRUE(item->GetUsePreviewFiles());
  EXPECT_FALSE(item->GetUseProxies());
  ASSERT_TRUE(mBackend->WaitForIdle());
}

TEST_F(FileTypeRoadsTest, LocalItemWithoutSourceHasNoStreams) {
  ItemRef item = Access::MakeItem();
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 0u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
  Access::SetExposeAudioAlways(*item, true);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
}

TEST_F(FileTypeRoadsTest, UnconnectedItemHasNoNameAndNoFlags) {
  ItemRef item = Access::MakeItem();
  EXPECT_EQ(item->GetMediaDisplayName(), u"");
  EXPECT_FALSE(item->GetUsePreviewFiles());
  item->SetUseProxies(true);
  EXPECT_FALSE(item->GetUseProxies());
  EXPECT_FALSE(item->HasFrozenUnstretchableRegions());
  EXPECT_THROW(item->GetSourceName(), kilncore::config::NullPtrException);
}

}  // namespace
}  // namespace TetherMedia
