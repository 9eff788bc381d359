// Every transition of the connection chain, one row at a time: the scripted
// double answers each step on its worker threads, and each row checks how the
// opening request ended, what the item stored, and that Create gives no item
// whenever the chain didn't reach a linked source.

#include "CreationTestSupport.h"

#include <requests/RequestTableForTesting.h>
#include <requests/ServerWait.h>

#include <Crate/ApplicationType.h>
#include <KL/FarsideAvailability.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::testing::Behaviour;
using tether::testing::OpenProjectWithJSONArgs;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

// Which fields of the item a row expects to be set once the chain has ended.
struct Fields {
  bool typed = false;
  bool linked = false;
  bool file = false;
  bool project = false;
  bool source = false;
};

struct Row {
  const char* name;
  // "remote" for a remote asset of the Marl family, otherwise a file name.
  const char* item;
  int32_t application;
  // The step that answers otherwise than with success, if any.
  std::optional<Operation> step;
  Behaviour answer;
  // How the opening request ends: 0 for fulfilled, else the failure's code.
  int32_t requestCode;
  bool linkedSource;
  Fields fields;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

tether::FarsideAssetRequestInfo Asset() {
  tether::FarsideAssetRequestInfo request;
  request.serverAddress = "https://farside.example";
  request.production = "Trailer";
  request.version = "";
  request.asset = "Titles";
  return request;
}

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      // Created.
      {"TypedServerConnectsOnToTheProjectAndSource", "A.marlp", 0, std::nullopt, {}, 0, true,
       {true, true, false, true, true}},
      {"RefusedTypedServerIsKeptAndFails", "A.marlp", 0, Operation::kCreateMarlServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, false, false, false, false}},
      {"RefusedSprocketServerIsKept", "A.spkscene", 0, Operation::kCreateSprocketServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, false, false, false, false}},
      {"RefusedTolmenServerIsKept", "A.tlmproj", 0, Operation::kCreateTolmenServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, false, false, false, false}},
      {"RefusedDarkslideServerIsKept", "A.dslcat", 0, Operation::kCreateDarkslideServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, false, false, false, false}},
      {"RefusedTolmenServerOfAPlainFileIsNotKept", "A.xml", 0, Operation::kCreateTolmenServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {}},
      {"RefusedEaselServerIsNotKept", "A.esd", 11, Operation::kCreateEaselServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {}},
      {"TypedServerStatusOfAnyFailureValueFailsWithTheGeneralCode", "A.marlp", 0,
       Operation::kCreateMarlServer, Behaviour::Fail(tether::kConnectionStatusNotFound), kGeneralFailure,
       false, {}},
      {"NullTypedServerWithStatus0EndsWithoutFailure", "A.marlp", 0, Operation::kCreateMarlServer,
       Behaviour::NullResult(), 0, false, {}},
      // Typed server connected.
      {"RefusedGenericServerFails", "A.marlp", 0, Operation::kConnectLinkedServer, Behaviour::Fail(),
       kGeneralFailure, false, {true, false, false, false, false}},
      {"RefusedGenericServerGivenAnywayIsStored", "A.marlp", 0, Operation::kConnectLinkedServer,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, true, false, false, false}},
      {"NullGenericServerWithStatus0EndsWithoutFailure", "A.marlp", 0, Operation::kConnectLinkedServer,
       Behaviour::NullResult(), 0, false, {true, false, false, false, false}},
      {"FileServerOpensTheFileToTheSource", "A.xml", 0, std::nullopt, {}, 0, true,
       {false, false, true, false, true}},
      {"RefusedFileServerFails", "A.xml", 0, Operation::kCreateFileServerLink, Behaviour::Fail(),
       kGeneralFailure, false, {}},
      {"RefusedFileServerGivenAnywayIsStored", "A.xml", 0, Operation::kCreateFileServerLink,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {false, false, true, false, false}},
      {"NullFileServerWithStatus0EndsWithoutFailure", "A.xml", 0, Operation::kCreateFileServerLink,
       Behaviour::NullResult(), 0, false, {}},
      {"RefusedEaselFileServerFails", "A.esd", 11, Operation::kConnectFileServer, Behaviour::Fail(),
       kGeneralFailure, false, {}},
      // Linked server connected.
      {"RefusedProjectFails", "A.marlp", 0, Operation::kOpenProject, Behaviour::Fail(), kGeneralFailure,
       false, {true, true, false, false, false}},
      {"RefusedProjectGivenAnywayIsStored", "A.marlp", 0, Operation::kOpenProject,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, true, false, true, false}},
      {"NullProjectWithStatus0EndsWithoutFailure", "A.marlp", 0, Operation::kOpenProject,
       Behaviour::NullResult(), 0, false, {true, true, false, false, false}},
      {"RemoteAssetOpensToTheSourceWithoutAProject", "remote", 0, std::nullopt, {}, 0, true,
       {true, true, false, false, true}},
      {"RefusedRemoteSourceFails", "remote", 0, Operation::kOpenFarsideAsset, Behaviour::Fail(),
       kGeneralFailure, false, {true, true, false, false, false}},
      {"NullRemoteSourceWithStatus0Fails", "remote", 0, Operation::kOpenFarsideAsset,
       Behaviour::NullResult(), kGeneralFailure, false, {true, true, false, false, false}},
      // File server connected.
      {"RefusedFileSourceFails", "A.xml", 0, Operation::kOpenFile, Behaviour::Fail(), kGeneralFailure,
       false, {false, false, true, false, false}},
      {"NullFileSourceWithStatus0Fails", "A.xml", 0, Operation::kOpenFile, Behaviour::NullResult(),
       kGeneralFailure, false, {false, false, true, false, false}},
      // Project open.
      {"RefusedProjectSourceFails", "A.marlp", 0, Operation::kGetSource, Behaviour::Fail(),
       kGeneralFailure, false, {true, true, false, true, false}},
      {"RefusedProjectSourceGivenAnywayIsStoredButNotLinked", "A.marlp", 0, Operation::kGetSource,
       Behaviour::Fail().KeepingResult(), kGeneralFailure, false, {true, true, false, true, true}},
      {"NullProjectSourceWithStatus0Fails", "A.marlp", 0, Operation::kGetSource, Behaviour::NullResult(),
       kGeneralFailure, false, {true, true, false, true, false}},
  };
  return rows;
}

class ChainTableTest : public ::testing::TestWithParam<Row> {
 protected:
  void SetUp() override {
    KL::SetFarsideClientAvailable(true);
    if (GetParam().step) mBackend->Script(*GetParam().step, GetParam().answer);
  }
  void TearDown() override { KL::SetFarsideClientAvailable(false); }

  bool IsRemote() const { return std::string(GetParam().item) == "remote"; }

  // An unconnected item of the row, with its opening request registered.
  ItemRef Fresh(kilncore::async::Future<void>& future) {
    ItemRef item = Access::MakeItem();
    if (IsRemote()) {
      Access::SetPath(*item, u"{\"asset\":\"Titles\"}", kilncore::utility::Guid::CreateUnique());
      Access::SetAssetRequest(*item, Asset(), boost::none);
    } else {
      Access::SetPath(*item, mFiles.Make(GetParam().item), kilncore::utility::Guid::CreateUnique());
    }
    future = Access::Register(*item);
    return item;
  }

  int32_t Start(TetherMediaInfo& item) {
    return IsRemote() ? Access::StartRemote(item, tether::kFarsideAssetServerTypeMarl)
                      : Access::StartByFileType(item);
  }

  int32_t Create() {
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    if (IsRemote()) {
      return TetherMediaInfo::Create(item, Asset(), tether::kFarsideAssetServerTypeMarl, prefs, boost::none);
    }
    return TetherMediaInfo::Create(item, mFiles.Make(GetParam().item), prefs);
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

TEST_P(ChainTableTest, EndsTheRequestAsTheRowSaysAndStoresWhatItWasGiven) {
  const Row& row = GetParam();
  Crate::ScopedApplicationType playing(row.application);
  kilncore::async::Future<void> future;
  ItemRef item = Fresh(future);
  ASSERT_EQ(Start(*item), 0);
  ServerWait::WaitUntilDeadline(future);
  ASSERT_TRUE(mBackend->WaitForIdle());

  EXPECT_EQ(ServerWait::ResultCodeOf(future), row.requestCode);
  EXPECT_EQ(Access::HasLinkedSource(*item), row.linkedSource);
  EXPECT_EQ(item->GetTypedServer() != nullptr, row.fields.typed);
  EXPECT_EQ(item->GetLinkedServer() != nullptr, row.fields.linked);
  EXPECT_EQ(item->GetFileServer() != nullptr, row.fields.file);
  EXPECT_EQ(item->GetProject() != nullptr, row.fields.project);
  EXPECT_EQ(Access::Source(*item) != nullptr, row.fields.source);
  EXPECT_TRUE(mBackend->CallbackExceptions().empty());
}

TEST_P(ChainTableTest, CreateGivesAnItemOnlyWhenTheChainLinkedASource) {
  const Row& row = GetParam();
  Crate::ScopedApplicationType playing(row.application);
  EXPECT_EQ(Create(), row.linkedSource ? 0 : kNoLinkedSource);
  ASSERT_TRUE(mBackend->WaitForIdle());
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Transitions, ChainTableTest, ::testing::ValuesIn(Rows()),
                         [](const ::testing::TestParamInfo<Row>& info) { return std::string(info.param.name); });

// ---- The Sprocket source road: the server isn't kept, and the item's options
// go with the project when it is opened.

class SprocketSourceRoadTest : public ::testing::Test {
 protected:
  // Runs the road for a new item with `options` to its end; gives the code
  // its opening request ended with.
  int32_t RunRoad(const kilncore::WideString& options) {
    mItem = Access::MakeItem();
    Access::SetPath(*mItem, mFiles.Make("Scene.spkproj"), ItemID(), options);
    const kilncore::async::Future<void> future = Access::Register(*mItem);
    Access::StartSprocketSourceRoad(*mItem);
    ServerWait::WaitUntilDeadline(future);
    EXPECT_TRUE(mBackend->WaitForIdle());
    return ServerWait::ResultCodeOf(future);
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
  ItemRef mItem;
};

TEST_F(SprocketSourceRoadTest, OpensWithTheOptionsAndKeepsNoTypedServer) {
  const kilncore::WideString options = u"{\"quality\":\"draft\"}";
  EXPECT_EQ(RunRoad(options), 0);
  EXPECT_TRUE(Access::HasLinkedSource(*mItem));
  EXPECT_FALSE(mItem->GetTypedServer());
  EXPECT_TRUE(mItem->GetLinkedServer());
  EXPECT_TRUE(mItem->GetProject());
  ASSERT_EQ(mBackend->CallCount(Operation::kOpenProjectWithJSON), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kOpenProjectWithJSON)[0].Args<OpenProjectWithJSONArgs>().json,
            Utf8(options));
  EXPECT_EQ(mBackend->CallCount(Operation::kOpenProject), 0u);
}

TEST_F(SprocketSourceRoadTest, RefusedServerIsNotKept) {
  mBackend->Script(Operation::kCreateSprocketServer, Behaviour::Fail().KeepingResult());
  EXPECT_EQ(RunRoad({}), kGeneralFailure);
  EXPECT_FALSE(mItem->GetTypedServer());
  EXPECT_EQ(mBackend->CallCount(Operation::kConnectLinkedServer), 0u);
}

}  // namespace
}  // namespace TetherMedia
