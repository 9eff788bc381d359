#include <TetherMedia/ProjectEnumeration.h>

#include <KL/IClipProjectItem.h>
#include <KL/INode.h>
#include <KL/IProjectItemContainer.h>
#include <KL/IProperties.h>
#include <KL/IUniqueSerializeable.h>
#include <KL/Keel.h>
#include <KL/MasterClipUtils.h>
#include <KL/OverrideReadOnlyPropertyWarningMessage.h>
#include <ProjectXML/ProjectXMLWriter.h>

#include <kilncore/messaging/Messaging.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/ScopedBackend.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using tether::testing::Behaviour;
using tether::testing::GetItemsAsXMLArgs;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using tether::testing::ScriptedProjectSetup;
using ItemList = std::vector<InterfaceRef<KL::IProjectItem>>;

constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
const kilncore::WideString kPath = u"/projects/edit.tlmproj";
const Guid kSequence("5E000000-0000-0000-0000-000000000001");
const Guid kClip("C1000000-0000-0000-0000-000000000002");
const Guid kBin("B1000000-0000-0000-0000-000000000003");
const Guid kZero("00000000-0000-0000-0000-0000000000F0");

ProjectXML::Item Item(ProjectXML::Item::Kind kind, const char* name, const Guid& id, uint64_t node) {
  ProjectXML::Item item;
  item.kind = kind;
  item.name = name;
  item.id = id;
  item.nodeID = node;
  if (kind == ProjectXML::Item::Kind::kSequence) item.sequence = ProjectXML::Sequence();
  if (kind == ProjectXML::Item::Kind::kMasterClip) item.media = "/media/a.png";
  return item;
}

// A sequence (node 11), a master clip (node 12) and a bin (node 13), with the
// marks given (none if empty).
ProjectXML::ProjectDocument Document(std::optional<std::string> marks) {
  ProjectXML::ProjectDocument document;
  if (marks) {
    document.properties.push_back(
        {KL::kProjectItemMarkedForImportPropertyKey.AsUTF8(), ProjectXML::Property::Type::kText, *marks, false});
  }
  document.items = {Item(ProjectXML::Item::Kind::kSequence, "Main", kSequence, 11),
                    Item(ProjectXML::Item::Kind::kMasterClip, "Still", kClip, 12),
                    Item(ProjectXML::Item::Kind::kBin, "Bin", kBin, 13)};
  return document;
}

std::optional<std::string> TextOf(const InterfaceRef<KL::IProjectItem>& item,
                                  const kilncore::utility::ImmutableString& key) {
  KL::SerializeableValue<std::string> value;
  if (!InterfaceRef<KL::IProperties>(item)->ReadProperty(key, value)) return std::nullopt;
  return value.Get();
}

std::optional<bool> BoolOf(const InterfaceRef<KL::IProjectItem>& item, const kilncore::utility::ImmutableString& key) {
  KL::SerializeableValue<bool> value;
  if (!InterfaceRef<KL::IProperties>(item)->ReadProperty(key, value)) return std::nullopt;
  return value.Get();
}

Guid IdOf(const InterfaceRef<KL::IProjectItem>& item) {
  return InterfaceRef<KL::IUniqueSerializeable>(item)->GetUniqueID();
}

class ProjectItemsTest : public ::testing::Test {
 protected:
  void Serve(const std::string& xml) {
    ScriptedProjectSetup project;
    project.itemsXML = xml;
    mBackend->SetProject(kilncore::string::UTF16to8(kPath), project);
  }
  void Serve(const ProjectXML::ProjectDocument& document) { Serve(ProjectXML::ProjectXMLWriter::Write(document)); }

  ScopedBackend mBackend;
  ItemList mItems;
};

TEST_F(ProjectItemsTest, AsksTheHostProjectServerForTheNamedItems) {
  Serve(Document("11"));
  ASSERT_EQ(GetProjectItemsFromProject(kPath, {kSequence, kClip}, mItems), 0);
  EXPECT_EQ(mBackend->CallCount(Operation::kCreateTolmenServer), 1u);
  ASSERT_EQ(mBackend->CallCount(Operation::kGetItemsAsXML), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kGetItemsAsXML)[0].Args<GetItemsAsXMLArgs>().ids,
            (std::vector<Guid>{kSequence, kClip}));
  ASSERT_EQ(mItems.size(), 3u);
  EXPECT_EQ(InterfaceRef<KL::INode>(mItems[0])->GetNodeID(), 11u);
  EXPECT_EQ(InterfaceRef<KL::INode>(mItems[2])->GetNodeID(), 13u);
}

TEST_F(ProjectItemsTest, UnmarkedProjectMarksEveryItemNotForImport) {
  Serve(Document(std::nullopt));
  ASSERT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), 0);
  ASSERT_EQ(mItems.size(), 3u);
  for (const auto& item : mItems) {
    EXPECT_EQ(BoolOf(item, KL::kProjectItemMarkedForNotImportPropertyKey), true);
    EXPECT_FALSE(TextOf(item, KL::kOriginalProjectItemGuid));
  }
  EXPECT_EQ(IdOf(mItems[0]), kSequence);
}

TEST_F(ProjectItemsTest, MarkedItemGetsANewGuidAndKeepsItsOriginAndOthersAreNotImported) {
  Serve(Document("12 \n 13"));
  ASSERT_EQ(GetProjectItemsFromProject(kPath, {kClip, kBin}, mItems), 0);
  ASSERT_EQ(mItems.size(), 3u);
  EXPECT_EQ(BoolOf(mItems[0], KL::kProjectItemMarkedForNotImportPropertyKey), true);
  for (size_t i : {1u, 2u}) {
    EXPECT_FALSE(BoolOf(mItems[i], KL::kProjectItemMarkedForNotImportPropertyKey));
    EXPECT_EQ(TextOf(mItems[i], KL::kOriginalProjectItemProjectPath), "/projects/edit.tlmproj");
  }
  EXPECT_EQ(TextOf(mItems[1], KL::kOriginalProjectItemGuid), kClip.AsUTF8String());
  EXPECT_NE(IdOf(mItems[1]), kClip);
  EXPECT_FALSE(IdOf(mItems[1]).IsNil());
  EXPECT_EQ(TextOf(mItems[2], KL::kOriginalProjectItemGuid), kBin.AsUTF8String());
}

TEST_F(ProjectItemsTest, NodeWithIdentifierZeroCountsAsMarked) {
  ProjectXML::ProjectDocument document = Document("11");
  document.items.push_back(Item(ProjectXML::Item::Kind::kMasterClip, "Zero", kZero, 0));
  Serve(document);
  ASSERT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), 0);
  ASSERT_EQ(mItems.size(), 4u);
  EXPECT_FALSE(BoolOf(mItems[3], KL::kProjectItemMarkedForNotImportPropertyKey));
  EXPECT_EQ(TextOf(mItems[3], KL::kOriginalProjectItemGuid), kZero.AsUTF8String());
  EXPECT_EQ(BoolOf(mItems[1], KL::kProjectItemMarkedForNotImportPropertyKey), true);
}

TEST_F(ProjectItemsTest, ReadOnlyKeyIsLeftAsItWasAndTheStationIsWarned) {
  ProjectXML::ProjectDocument document = Document(std::nullopt);
  document.items[0].properties.push_back({KL::kProjectItemMarkedForNotImportPropertyKey.AsUTF8(),
                                          ProjectXML::Property::Type::kBool, "false", true});
  Serve(document);
  ASSERT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), 0);
  ASSERT_EQ(mItems.size(), 3u);
  EXPECT_EQ(BoolOf(mItems[0], KL::kProjectItemMarkedForNotImportPropertyKey), false);
  EXPECT_EQ(BoolOf(mItems[1], KL::kProjectItemMarkedForNotImportPropertyKey), true);

  const auto station =
      kilncore::messaging::FindStation(InterfaceRef<KL::IProperties>(mItems[0])->GetPropertyStationID());
  ASSERT_TRUE(station);
  std::vector<std::string> refused;
  station->AddListener([&](const kilncore::messaging::Message& message) {
    if (const auto* warning = kilncore::messaging::MessageCast<KL::OverrideReadOnlyPropertyWarningMessage>(message)) {
      refused.push_back(warning->GetKey().AsUTF8());
    }
  });
  kilncore::messaging::PumpUIThreadMessages();
  EXPECT_EQ(refused, std::vector<std::string>{KL::kProjectItemMarkedForNotImportPropertyKey.AsUTF8()});
}

TEST_F(ProjectItemsTest, LoadedItemsReachTheirSequenceAndContents) {
  Serve(Document(std::nullopt));
  ASSERT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), 0);
  ASSERT_EQ(mItems.size(), 3u);
  const InterfaceRef<KL::IClipProjectItem> sequenceClip(mItems[0]);
  ASSERT_TRUE(sequenceClip);
  const auto sequence = KL::MasterClipUtils::GetSequence(sequenceClip->GetMasterClip());
  ASSERT_TRUE(sequence);
  EXPECT_EQ(sequence->GetSequenceID(), kSequence);
  const InterfaceRef<KL::IClipProjectItem> mediaClip(mItems[1]);
  ASSERT_TRUE(mediaClip);
  EXPECT_EQ(mediaClip->GetMasterClip()->GetMediaPath(), u"/media/a.png");
  EXPECT_FALSE(KL::MasterClipUtils::GetSequence(mediaClip->GetMasterClip()));
  EXPECT_TRUE(InterfaceRef<KL::IProjectItemContainer>(mItems[2]));
  EXPECT_FALSE(InterfaceRef<KL::IClipProjectItem>(mItems[2]));
}

TEST_F(ProjectItemsTest, EmptyTextIsAFailure) {
  Serve(std::string());
  EXPECT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), kGeneralFailure);
}

TEST_F(ProjectItemsTest, TextThatDoesNotParseLeavesTheItemsAsTheyWere) {
  Serve(std::string("<tolmenProject><sequence name='x'"));
  mItems.push_back(nullptr);
  EXPECT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), 0);
  EXPECT_EQ(mItems.size(), 1u);
}

TEST_F(ProjectItemsTest, RefusedServerProjectOrItemsFail) {
  Serve(Document("11"));
  for (Operation refused : {Operation::kCreateTolmenServer, Operation::kOpenProject, Operation::kGetItemsAsXML}) {
    mBackend->ScriptNext(refused, Behaviour::Fail());
    EXPECT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), kGeneralFailure) << static_cast<int>(refused);
    EXPECT_TRUE(mItems.empty());
  }
}

TEST_F(ProjectItemsTest, MissingProjectLibraryIsAFailureNotACrash) {
  Serve(Document("11"));
  auto keel = KL::SetKeelForTesting(nullptr);
  EXPECT_EQ(GetProjectItemsFromProject(kPath, {}, mItems), kGeneralFailure);
  KL::SetKeelForTesting(keel);
}

}  // namespace
}  // namespace TetherMedia
