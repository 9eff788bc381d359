// `tetherhost items` as a user runs it, against the reference server.
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

// Runs tetherhost with `arguments` and gives its exit status and its output,
// both streams together.
std::pair<int, std::string> RunItems(const std::string& arguments) {
  const std::string command = "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" +
                              std::string(TETHER_TEST_TETHERHOST) + "' items " + arguments + " 2>&1 </dev/null";
  FILE* pipe = ::popen(command.c_str(), "r");
  std::string output;
  char buffer[4096];
  while (size_t read = std::fread(buffer, 1, sizeof(buffer), pipe)) output.append(buffer, read);
  const int raw = ::pclose(pipe);
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, output};
}

const std::string kEdit = "'" + (fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "host" / "edit.tlmproj").string() + "'";

TEST(ItemsCommandTest, PrintsTheLoadedItemsWithTheirMarks) {
  const auto [status, output] = RunItems(kEdit + " --ids 5E7A1C0D-0000-4000-8000-000000000011");
  ASSERT_EQ(status, 0) << output;
  // The sequence is imported; the clips it shows come along, not imported,
  // and the interview's read-only mark stays as the project has it.
  EXPECT_NE(output.find("node 11  sequence Main 1080p25  imported, was 5E7A1C0D-0000-4000-8000-000000000011"),
            std::string::npos)
      << output;
  EXPECT_NE(output.find("node 21  clip Title card  not imported: true\n"), std::string::npos) << output;
  EXPECT_NE(output.find("node 22  clip Interview  not imported: false (read-only)\n"), std::string::npos) << output;
}

TEST(ItemsCommandTest, UnknownItemsMissingFilesAndBadIdentifiersFailInOneLine) {
  const auto unknown = RunItems(kEdit + " --ids " + kilncore::utility::Guid::CreateUnique().AsUTF8String());
  EXPECT_EQ(unknown.first, 1);
  EXPECT_NE(unknown.second.find("tetherhost: the items of"), std::string::npos) << unknown.second;
  const auto missing = RunItems("/no/such/project.tlmproj --ids 5E7A1C0D-0000-4000-8000-000000000011");
  EXPECT_EQ(missing.first, 1);
  EXPECT_EQ(missing.second, "tetherhost: no such file: /no/such/project.tlmproj (0xA00F0003, file missing)\n");
  const auto bad = RunItems(kEdit + " --ids junk");
  EXPECT_EQ(bad.first, 2);
  EXPECT_EQ(bad.second, "tetherhost: not an item identifier: junk\n");
}

}  // namespace
