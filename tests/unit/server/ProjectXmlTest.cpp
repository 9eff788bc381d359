#include <server/project/ProjectXml.h>

#include <gtest/gtest.h>

namespace tetherserver {
namespace {

using kilncore::utility::Guid;

TEST(ProjectXmlTest, WritesFoldersWithTheirContentsIndentedAndCompositionsAsEmptyElements) {
  ProjectXmlItem composition{false, Guid("C0000000-0000-4000-8000-000000000001"), "Main", {{"width", "64"}}, {}};
  ProjectXmlItem folder{true, Guid("A0000000-0000-4000-8000-000000000001"), "Edits", {}, {composition}};
  ProjectXmlItem emptyFolder{true, Guid("A0000000-0000-4000-8000-000000000002"), "Empty", {}, {}};
  EXPECT_EQ(WriteProjectXml("/p/x.marlp", {folder, emptyFolder}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<tetherProject version=\"1\" file=\"/p/x.marlp\">\n"
            "  <folder id=\"A0000000-0000-4000-8000-000000000001\" name=\"Edits\">\n"
            "    <composition id=\"C0000000-0000-4000-8000-000000000001\" name=\"Main\" width=\"64\" />\n"
            "  </folder>\n"
            "  <folder id=\"A0000000-0000-4000-8000-000000000002\" name=\"Empty\" />\n"
            "</tetherProject>\n");
}

TEST(ProjectXmlTest, EscapesEveryCharacterThatCouldEndAnAttribute) {
  ProjectXmlItem item{false, Guid("C0000000-0000-4000-8000-000000000001"), "\"><x/>", {}, {}};
  std::string text = WriteProjectXml("/a&b", {item});
  EXPECT_NE(text.find("file=\"/a&amp;b\""), std::string::npos);
  EXPECT_NE(text.find("name=\"&quot;"), std::string::npos);
  EXPECT_EQ(text.find("<x/>"), std::string::npos);
}

TEST(ProjectXmlTest, EmptyListGivesAProjectWithoutItems) {
  EXPECT_EQ(WriteProjectXml("p", {}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tetherProject version=\"1\" file=\"p\" />\n");
}

}  // namespace
}  // namespace tetherserver
