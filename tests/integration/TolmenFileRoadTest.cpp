// The host project server's file road for Final Cut Pro XML, at the handler:
// what it answers for real-export shapes, and what it writes to its log.
#include <server/tolmen/TolmenHandler.h>

#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <kilncore/string/UTFConversion.h>

#include <tether/wire/Protocol.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

const std::string kHost = std::string(TETHER_TEST_EXAMPLES_FOLDER) + "/host/";

tether::File FileOf(const std::string& path) { return tether::File(kilncore::string::UTF8to16(path)); }

TEST(TolmenFileRoadTest, ExportShapedFileOpensItsFirstSequenceAndLogsWhatItSkips) {
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherServer", 5);
  tetherserver::FileNotes notes;
  int32_t status = -1;
  const auto item = tetherserver::TolmenHandler().OpenFile(FileOf(kHost + "export.xml"), notes, status);
  kilncore::debug::SetTraceLevel("TetherServer", 0);
  ASSERT_EQ(status, tether::wire::kStatusOK);
  ASSERT_TRUE(item);
  EXPECT_EQ(notes.kind, "Final Cut Pro XML");
  EXPECT_EQ(notes.detail, 2);
  EXPECT_TRUE(capture.Contains("TetherServer", "skipped <transitionitem> in " + kHost + "export.xml"));
  EXPECT_TRUE(capture.Contains("TetherServer", "skipped <filter> in " + kHost + "export.xml"));
}

TEST(TolmenFileRoadTest, FileThatDoesNotReadFailsWithTheReadersTextAndAFileWithoutSequencesIsNotFound) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("tolmen-file-road-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "dangling.xml") << "<xmeml version='4'><sequence><media><video><track><clipitem>"
                                            "<file id='f9'/></clipitem></track></video></media></sequence></xmeml>";
  std::ofstream(folder / "empty.xml") << "<xmeml version='4'><project><name>Nothing</name></project></xmeml>";
  tetherserver::FileNotes notes;
  int32_t status = -1;
  EXPECT_FALSE(tetherserver::TolmenHandler().OpenFile(FileOf((folder / "dangling.xml").string()), notes, status));
  EXPECT_EQ(status, tether::wire::kStatusFailed);
  EXPECT_NE(notes.message.find("file \"f9\" is defined nowhere in the file at "
                               "/xmeml/sequence/media/video/track/clipitem/file (line 1)"),
            std::string::npos)
      << notes.message;
  tetherserver::FileNotes emptyNotes;
  EXPECT_FALSE(tetherserver::TolmenHandler().OpenFile(FileOf((folder / "empty.xml").string()), emptyNotes, status));
  EXPECT_EQ(status, tether::wire::kStatusNotFound);
  std::filesystem::remove_all(folder);
}

}  // namespace
