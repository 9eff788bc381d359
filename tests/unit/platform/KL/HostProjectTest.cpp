#include <KL/HostProject.h>
#include <KL/IProjectItemContainer.h>
#include <KL/IProperties.h>
#include <KL/Keel.h>
#include <WF/ProjectLoadStatus.h>
#include <WF/ProjectLoadSupport.h>

#include <gtest/gtest.h>

namespace {

using kilncore::classref::InterfaceRef;

constexpr char kText[] =
    "<tolmenProject><properties><property key='Keel.Project.MarkedForImport'>3</property>"
    "<property key='Locked' type='bool' readOnly='true'>true</property></properties>"
    "<bin name='B' id='B0000000-0000-0000-0000-000000000001' node='1'>"
    "<masterClip name='C' id='C0000000-0000-0000-0000-000000000002' node='2' media='/m.png'/></bin>"
    "</tolmenProject>";

InterfaceRef<KL::IProject> Parse(const char* text) {
  InterfaceRef<KL::IProject> project;
  KL::GetKeel()->ParseProjectXML(text, nullptr, u"Project", project);
  return project;
}

TEST(HostProjectTest, ItemsExistOnlyAfterTheLoadWhichReportsThem) {
  InterfaceRef<KL::IProject> project = Parse(kText);
  ASSERT_TRUE(project);
  EXPECT_FALSE(project->GetRootItem());
  EXPECT_LT(project->RunProjectLoad(nullptr, nullptr), 0);
  const auto status = WF::ProjectLoadStatus::Create();
  ASSERT_EQ(project->RunProjectLoad(WF::ProjectLoadSupport::Create(project, 2, status), nullptr), 0);
  EXPECT_TRUE(status->IsFinished());
  EXPECT_EQ(status->GetLoadedItemCount(), 2u);
  const InterfaceRef<KL::IProjectItemContainer> root(project->GetRootItem());
  ASSERT_TRUE(root);
  const auto contained = root->GetContainedItemMap();
  ASSERT_EQ(contained.size(), 1u);
  const InterfaceRef<KL::IProjectItemContainer> bin(contained.begin()->second);
  ASSERT_TRUE(bin);
  EXPECT_EQ(bin->GetContainedItemMap().size(), 1u);
}

TEST(HostProjectTest, PropertiesAreTypedAndMayBeReadOnly) {
  InterfaceRef<KL::IProperties> properties(Parse(kText));
  ASSERT_TRUE(properties);
  KL::SerializeableValue<std::string> marks;
  ASSERT_TRUE(properties->ReadProperty(KL::kProjectItemMarkedForImportPropertyKey, marks));
  EXPECT_EQ(marks.Get(), "3");
  KL::SerializeableValue<bool> wrongType;
  EXPECT_THROW(properties->ReadProperty(KL::kProjectItemMarkedForImportPropertyKey, wrongType),
               KL::exSerializeableTypeMismatch);
  const kilncore::utility::ImmutableString locked("Locked");
  EXPECT_TRUE(properties->IsPropertyReadOnly(locked));
  properties->WriteProperty(locked, KL::SerializeableValue<bool>(false), false);
  KL::SerializeableValue<bool> value;
  ASSERT_TRUE(properties->ReadProperty(locked, value));
  EXPECT_TRUE(value.Get());
  EXPECT_FALSE(properties->GetPropertyStationID().empty());
}

TEST(HostProjectTest, TextThatDoesNotParseGivesNoProject) {
  InterfaceRef<KL::IProject> project;
  EXPECT_LT(KL::GetKeel()->ParseProjectXML("<tolmenProject>", nullptr, u"Project", project), 0);
  EXPECT_FALSE(project);
}

}  // namespace
