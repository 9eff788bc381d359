#include <TetherMedia/ProjectEnumeration.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>
#include <tether/testing/ScopedBackend.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace TetherMedia {
namespace {

using kilncore::utility::Guid;
using tether::ItemInfo;
using tether::testing::Behaviour;
using tether::testing::Delivery;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using tether::testing::ScriptedProjectSetup;

const kilncore::WideString kPath = u"/projects/show.marlp";
const Guid kFolderA("A0000000-0000-0000-0000-00000000000A");
const Guid kFolderB("B0000000-0000-0000-0000-00000000000B");
const Guid kComp1("00000000-0000-0000-0000-000000000001");
const Guid kComp2("00000000-0000-0000-0000-000000000002");
const Guid kComp3("00000000-0000-0000-0000-000000000003");
const Guid kComp4("00000000-0000-0000-0000-000000000004");

ItemInfo Leaf(const char16_t* name, const Guid& id) { return {name, id, ItemInfo::kTypeLeaf}; }
ItemInfo Folder(const char16_t* name, const Guid& id) { return {name, id, ItemInfo::kTypeContainer}; }

// Root: Comp 1, Folder A (Comp 2, Folder B (Comp 3)), an entry of an unknown
// type, Comp 4.
ScriptedProjectSetup NestedProject() {
  ScriptedProjectSetup project;
  project.containers[Guid()] = {Leaf(u"Comp 1", kComp1), Folder(u"Folder A", kFolderA),
                                ItemInfo{u"Unknown", Guid::CreateUnique(), 7}, Leaf(u"Comp 4", kComp4)};
  project.containers[kFolderA] = {Leaf(u"Comp 2", kComp2), Folder(u"Folder B", kFolderB)};
  project.containers[kFolderB] = {Leaf(u"Comp 3", kComp3)};
  return project;
}

std::vector<Guid> IdsOf(const std::vector<ItemInfo>& items) {
  std::vector<Guid> ids;
  for (const ItemInfo& item : items) ids.push_back(item.id);
  return ids;
}

class CompsInfoTest : public ::testing::Test {
 protected:
  void SetUp() override { mBackend->SetProject(kilncore::string::UTF16to8(kPath), NestedProject()); }

  ScopedBackend mBackend;
};

TEST_F(CompsInfoTest, NestedFoldersGiveTheirCompositionsDepthFirstWithoutFolders) {
  const std::vector<ItemInfo> items = GetCompsInfoForMarlp(kPath);
  EXPECT_EQ(IdsOf(items), (std::vector<Guid>{kComp1, kComp2, kComp3, kComp4}));
  EXPECT_EQ(items[2].name, u"Comp 3");
}

TEST_F(CompsInfoTest, ConnectsThroughAMarlServerOnItsDefaultRoadAndOpensThePath) {
  GetCompsInfoForMarlp(kPath);
  const auto created = mBackend->Calls(Operation::kCreateMarlServer);
  ASSERT_EQ(created.size(), 1u);
  EXPECT_EQ(created[0].Args<tether::testing::CreateServerArgs>().connectionType,
            tether::kServerConnectionTypeDefault);
  const auto linked = mBackend->Calls(Operation::kConnectLinkedServer);
  ASSERT_EQ(linked.size(), 1u);
  EXPECT_EQ(linked[0].Args<tether::testing::ConnectLinkedServerArgs>().connectionType,
            tether::kServerConnectionTypeInherit);
  const auto opened = mBackend->Calls(Operation::kOpenProject);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0].Args<tether::testing::OpenProjectArgs>().file.FullPath(), kPath);
}

TEST_F(CompsInfoTest, UnreachableServerGivesAnEmptyList) {
  mBackend->Script(Operation::kCreateMarlServer, Behaviour::Fail(tether::kConnectionStatusServerUnavailable));
  EXPECT_TRUE(GetCompsInfoForMarlp(kPath).empty());
  EXPECT_TRUE(mBackend->Calls(Operation::kConnectLinkedServer).empty());
}

TEST_F(CompsInfoTest, ServerAnsweringWithoutAServerGivesAnEmptyList) {
  mBackend->Script(Operation::kCreateMarlServer, Behaviour::NullResult());
  EXPECT_TRUE(GetCompsInfoForMarlp(kPath).empty());
}

TEST_F(CompsInfoTest, RefusedLinkedServerGivesAnEmptyList) {
  mBackend->Script(Operation::kConnectLinkedServer, Behaviour::Fail());
  EXPECT_TRUE(GetCompsInfoForMarlp(kPath).empty());
  EXPECT_TRUE(mBackend->Calls(Operation::kOpenProject).empty());
}

TEST_F(CompsInfoTest, ProjectThatWontOpenGivesAnEmptyList) {
  mBackend->Script(Operation::kOpenProject, Behaviour::Fail());
  EXPECT_TRUE(GetCompsInfoForMarlp(kPath).empty());
  EXPECT_TRUE(mBackend->Calls(Operation::kGetContainer).empty());
}

TEST_F(CompsInfoTest, DroppedAnswerEndsTheWaitWithAnEmptyList) {
  mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kDrop));
  EXPECT_TRUE(GetCompsInfoForMarlp(kPath).empty());
}

TEST_F(CompsInfoTest, RefusedFolderIsLeftOutWithEverythingBelowIt) {
  mBackend->Script(Operation::kGetContainer, Behaviour::Fail(), kFolderA.AsUTF8String());
  EXPECT_EQ(IdsOf(GetCompsInfoForMarlp(kPath)), (std::vector<Guid>{kComp1, kComp4}));
}

TEST_F(CompsInfoTest, FolderAnsweredWithoutAContainerIsLeftOut) {
  mBackend->Script(Operation::kGetContainer, Behaviour::NullResult(), kFolderB.AsUTF8String());
  EXPECT_EQ(IdsOf(GetCompsInfoForMarlp(kPath)), (std::vector<Guid>{kComp1, kComp2, kComp4}));
}

TEST_F(CompsInfoTest, RefusedRootGivesAnEmptyList) {
  mBackend->Script(Operation::kGetContainer, Behaviour::Fail(), Guid().AsUTF8String());
  EXPECT_TRUE(GetCompsInfoForMarlp(kPath).empty());
}

TEST_F(CompsInfoTest, AnswersInsideTheCallsWork) {
  mBackend->Script(Operation::kCreateMarlServer, Behaviour().With(Delivery::kSynchronous));
  mBackend->Script(Operation::kOpenProject, Behaviour().With(Delivery::kSynchronous));
  mBackend->Script(Operation::kGetContainer, Behaviour().With(Delivery::kSynchronous));
  EXPECT_EQ(GetCompsInfoForMarlp(kPath).size(), 4u);
}

TEST_F(CompsInfoTest, EachCallMakesItsOwnLink) {
  GetCompsInfoForMarlp(kPath);
  GetCompsInfoForMarlp(kPath);
  EXPECT_EQ(mBackend->Calls(Operation::kCreateMarlServer).size(), 2u);
}

}  // namespace
}  // namespace TetherMedia
