// `tetherhost watch` as a user runs it: it follows an edit of the project
// file with a new frame and one line, says nothing for a save of the same
// content, says when the file is gone, and ends on Ctrl-C with a summary.
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

size_t Count(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

class WatchCommandTest : public ::testing::Test {
 protected:
  WatchCommandTest()
      : mFolder(fs::temp_directory_path() / ("tetherhost-watch-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~WatchCommandTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }
  fs::path mFolder;
};

// A shell line that waits (at most 30 s) until `file` has a line starting with
// `start`.
std::string WaitForLine(const fs::path& file, const std::string& start) {
  return "for i in $(seq 600); do grep -q '^" + start + "' '" + file.string() + "' && break; sleep 0.05; done; ";
}

TEST_F(WatchCommandTest, FollowsAnEditIgnoresTheSameContentReportsDeletionAndEndsOnCtrlC) {
  const fs::path project = mFolder / "simple.marlp";
  fs::copy_file(fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "simple.marlp", project);
  std::string edited = ReadAll(project);
  const std::string from = "[0.1, 0.1, 0.12, 1.0]";
  ASSERT_NE(edited.find(from), std::string::npos);
  edited.replace(edited.find(from), from.size(), "[0.7, 0.1, 0.12, 1.0]");
  std::ofstream(mFolder / "edited.txt", std::ios::binary) << edited;

  const fs::path out = mFolder / "out.txt";
  const fs::path err = mFolder / "err.txt";
  const fs::path status = mFolder / "status.txt";
  const fs::path frames = mFolder / "frames";
  const std::string command =
      "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" + std::string(TETHER_TEST_TETHERHOST) +
      "' watch '" + project.string() + "' --out '" + frames.string() + "' >'" + out.string() + "' 2>'" +
      err.string() + "' </dev/null & pid=$!; " + WaitForLine(out, "watching") +
      // An editor saving in place.
      "cat '" + (mFolder / "edited.txt").string() + "' >'" + project.string() + "'; " + WaitForLine(out, "changed") +
      // The same content saved again, then the file deleted.
      "cp '" + project.string() + "' '" + (mFolder / "same.txt").string() + "'; cat '" +
      (mFolder / "same.txt").string() + "' >'" + project.string() + "'; rm '" + project.string() + "'; " +
      WaitForLine(out, "offline") + "kill -INT $pid; wait $pid; echo $? >'" + status.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);

  const std::string printed = ReadAll(out);
  EXPECT_EQ(ReadAll(status), "0\n") << ReadAll(err);
  EXPECT_NE(printed.find("links:         none"), std::string::npos) << printed;
  EXPECT_EQ(Count(printed, "\nchanged:       the project file (written), content state "), 1u) << printed;
  EXPECT_EQ(Count(printed, "\noffline:       the project file (removed): the item is offline"), 1u) << printed;
  EXPECT_NE(printed.find("1 changes, 1 times offline, 2 frames in"), std::string::npos) << printed;
  ASSERT_TRUE(fs::exists(frames / "frame-0000.png"));
  ASSERT_TRUE(fs::exists(frames / "frame-0001.png"));
  EXPECT_NE(ReadAll(frames / "frame-0000.png"), ReadAll(frames / "frame-0001.png"));
}

TEST_F(WatchCommandTest, InfoSaysWhetherTheItemHoldsALink) {
  const fs::path out = mFolder / "info.txt";
  const std::string command = "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" +
                              std::string(TETHER_TEST_TETHERHOST) + "' info '" +
                              (fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "linked.marlp").string() + "' >'" +
                              out.string() + "' 2>/dev/null </dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_NE(ReadAll(out).find("links:         contains a link to an item of another project"), std::string::npos)
      << ReadAll(out);
}

}  // namespace
