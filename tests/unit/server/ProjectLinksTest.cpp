// Links between a Marl project and host projects: what an item links, and
// whether a source is used from a project through links, nested or circular.

#include "ServerTestSupport.h"

#include <server/ProjectLinks.h>
#include <server/SessionProjectContent.h>

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using kilncore::utility::Guid;
using tetherserver::ProjectLinks;
using tetherserver::SessionProject;

const Guid kLinkedTitles("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5B01");
const Guid kSimple("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
const Guid kMainEdit("5E7A1C0D-0000-4000-8000-000000000011");
const Guid kEditWithTitles("5E7A1C0D-0000-4000-8000-000000000031");

const Guid kCompA("C1000000-0000-4000-8000-00000000000A");
const Guid kCompB("C1000000-0000-4000-8000-00000000000B");
const Guid kSequence("5E000000-0000-4000-8000-000000000001");

std::shared_ptr<const SessionProject> Open(const std::string& application, const std::filesystem::path& path) {
  tetherserver::SessionProjectContent content;
  int32_t status = 0;
  auto project =
      content.OpenProject(application, tether::File(kilncore::string::UTF8to16(path.string()), false), "", status, {});
  EXPECT_TRUE(project) << path << " status " << status;
  return project;
}

// A Marl project of compositions A and B; A links `linkProject`'s item
// `linkItem` when one is given.
std::string MarlProject(const std::string& linkProject, const Guid& linkItem) {
  std::string layers = R"({"type":"solid","color":[0,0,0,1]})";
  if (!linkProject.empty()) {
    layers += R"(,{"type":"link","project":")" + linkProject + R"(","item":")" + linkItem.AsUTF8String() + R"("})";
  }
  return servertest::ProjectJSON(
      servertest::CompositionJSON(kCompA.AsUTF8String(), R"("layers":[)" + layers + "]") + "," +
      servertest::CompositionJSON(kCompB.AsUTF8String()));
}

// A host project of one sequence whose clip links `linkProject`'s `linkItem`.
std::string HostProject(const std::string& linkProject, const Guid& linkItem) {
  return R"(<?xml version="1.0"?><tolmenProject><sequence name="S" id=")" + kSequence.AsUTF8String() +
         R"(" node="1"><videoTrack><clip id="1" out="10" link=")" + linkProject + R"(" linkItem=")" +
         linkItem.AsUTF8String() + R"("/></videoTrack></sequence></tolmenProject>)";
}

TEST(ProjectLinksTest, MarlSampleLinksTheHostSequence) {
  auto project = Open("Marl", servertest::ExamplesDir() / "linked.marlp");
  ASSERT_TRUE(project);
  EXPECT_TRUE(project->IsSourceLinked(kMainEdit));
  EXPECT_FALSE(project->IsSourceLinked(kEditWithTitles));
  // Its own composition is no link of it.
  EXPECT_FALSE(project->IsSourceLinked(kLinkedTitles));
  EXPECT_TRUE(project->GetItem(kLinkedTitles)->ContainsLink());
}

TEST(ProjectLinksTest, HostSampleLinksTheMarlComposition) {
  auto project = Open("Tolmen", servertest::ExamplesDir() / "host" / "linked.tlmproj");
  ASSERT_TRUE(project);
  EXPECT_TRUE(project->IsSourceLinked(kSimple));
  EXPECT_FALSE(project->IsSourceLinked(kMainEdit));
  EXPECT_TRUE(project->GetItem(kEditWithTitles)->ContainsLink());
}

TEST(ProjectLinksTest, ItemsWithoutLinksContainNone) {
  auto marl = Open("Marl", servertest::ExamplesDir() / "simple.marlp");
  ASSERT_TRUE(marl);
  EXPECT_FALSE(marl->GetItem(kSimple)->ContainsLink());
  EXPECT_FALSE(marl->IsSourceLinked(kSimple));
  auto host = Open("Tolmen", servertest::ExamplesDir() / "host" / "edit.tlmproj");
  ASSERT_TRUE(host);
  EXPECT_FALSE(host->GetItem(kMainEdit)->ContainsLink());
}

TEST(ProjectLinksTest, LinksAreFollowedThroughNestedProjects) {
  servertest::TempDir dir;
  // outer.marlp A -> host.tlmproj S -> inner.marlp A
  dir.Write("inner.marlp", MarlProject("", Guid()));
  dir.Write("host.tlmproj", HostProject("inner.marlp", kCompA));
  const auto outer = dir.Write("outer.marlp", MarlProject("host.tlmproj", kSequence));
  auto project = Open("Marl", outer);
  ASSERT_TRUE(project);
  EXPECT_TRUE(project->IsSourceLinked(kSequence));
  EXPECT_TRUE(project->IsSourceLinked(kCompA));
  EXPECT_FALSE(project->IsSourceLinked(kCompB));
}

TEST(ProjectLinksTest, CircleOfLinksIsReportedAndEnds) {
  servertest::TempDir dir;
  // cycle.marlp A -> host.tlmproj S -> cycle.marlp A
  dir.Write("host.tlmproj", HostProject("cycle.marlp", kCompA));
  const auto marl = dir.Write("cycle.marlp", MarlProject("host.tlmproj", kSequence));
  auto project = Open("Marl", marl);
  ASSERT_TRUE(project);
  // The composition reaches itself: the host sees the circle.
  EXPECT_TRUE(project->IsSourceLinked(kCompA));
  // A source outside the circle is looked for until the circle is walked.
  EXPECT_FALSE(project->IsSourceLinked(Guid::CreateUnique()));
  auto host = Open("Tolmen", dir.Path() / "host.tlmproj");
  ASSERT_TRUE(host);
  EXPECT_TRUE(host->IsSourceLinked(kSequence));
}

TEST(ProjectLinksTest, LinkToAMissingOrBrokenProjectLinksNothingFurther) {
  servertest::TempDir dir;
  dir.Write("broken.tlmproj", "<tolmenProject><sequence");
  const auto toBroken = dir.Write("a.marlp", MarlProject("broken.tlmproj", kSequence));
  const auto toMissing = dir.Write("b.marlp", MarlProject("missing.tlmproj", kSequence));
  auto broken = Open("Marl", toBroken);
  auto missing = Open("Marl", toMissing);
  ASSERT_TRUE(broken && missing);
  // The link itself is still there; nothing beyond it.
  EXPECT_TRUE(broken->IsSourceLinked(kSequence));
  EXPECT_FALSE(broken->IsSourceLinked(kCompA));
  EXPECT_FALSE(missing->IsSourceLinked(kCompA));
}

TEST(ProjectLinksTest, RelativeLinksAreResolvedAgainstTheProjectFolder) {
  tetherserver::Composition composition;
  tetherserver::Layer link;
  link.type = tetherserver::Layer::Type::kLink;
  link.linkProject = "../host/edit.tlmproj";
  link.linkItem = kMainEdit;
  composition.layers.push_back(link);
  const auto links = ProjectLinks::Of(composition, "/projects/marl/titles.marlp");
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].project, std::filesystem::path("/projects/host/edit.tlmproj"));
  EXPECT_EQ(links[0].item, kMainEdit);
}

TEST(ProjectLinksTest, LinkLayerNeedsAProjectAndAnItem) {
  for (const char* layer : {R"({"type":"link","project":"a.tlmproj"})",
                            R"({"type":"link","item":"5E000000-0000-4000-8000-000000000001"})",
                            R"({"type":"link","project":"","item":"5E000000-0000-4000-8000-000000000001"})",
                            R"({"type":"link","project":"a.tlmproj","item":"not an id"})"}) {
    auto parsed = tetherserver::Project::Parse(
        servertest::ProjectJSON(servertest::CompositionJSON(kCompA.AsUTF8String(),
                                                            std::string(R"("layers":[)") + layer + "]")),
        "p.marlp");
    EXPECT_FALSE(parsed.ok()) << layer;
  }
}

}  // namespace
