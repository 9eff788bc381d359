// Markers of a composition with a frame: read beside the plain notes, and
// refused when they fall outside the composition.
#include "ServerTestSupport.h"

#include <server/project/Project.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tetherserver {
namespace {

constexpr char kPromo[] = "3A000000-0000-4000-8000-000000000001";

TEST(PlacedMarkersTest, PlacedMarkersKeepTheirFramesAndAllNamesAreDescribed) {
  auto project = servertest::OpenExample("markers.marlp");
  ASSERT_TRUE(project);
  const Composition* comp = project->FindComposition(kilncore::utility::Guid(kPromo));
  ASSERT_NE(comp, nullptr);
  EXPECT_EQ(comp->placedMarkers,
            (std::vector<PlacedMarker>{{0, "Start"}, {125, "Logo"}, {249, "Last frame"}}));
  auto info = project->DescribeSource(kilncore::utility::Guid(kPromo));
  ASSERT_TRUE(info.ok()) << info.error.message;
  EXPECT_EQ(info->markers, (std::vector<std::string>{"Unplaced note", "Start", "Logo", "Last frame"}));
}

TEST(PlacedMarkersTest, MarkersOutsideTheCompositionOrWithoutNameAreRefused) {
  for (const char* markers : {R"({"frame":10})", R"({"frame":-1,"name":"a"})", R"({"frame":100,"name":"a"})",
                              R"({"name":"a"})", R"({"frame":"1","name":"a"})"}) {
    const std::string text =
        servertest::ProjectJSON(servertest::CompositionJSON(kPromo, std::string(R"("markers":[)") + markers + "]"));
    auto parsed = Project::Parse(text, "p.marlp");
    EXPECT_FALSE(parsed.ok()) << text;
    EXPECT_EQ(parsed.error.kind, ProjectError::Kind::kBadField) << parsed.error.message;
  }
}

}  // namespace
}  // namespace tetherserver
