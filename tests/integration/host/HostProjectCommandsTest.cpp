// `tetherhost items` and `tetherhost segments` as a user runs them, against the
// reference server.
#include "RunTetherhost.h"

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

using tetherhosttest::RunTetherhost;

const fs::path kHost = fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "host";
const std::string kEdit = "'" + (fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "host" / "edit.tlmproj").string() + "'";

TEST(ItemsCommandTest, PrintsTheLoadedItemsWithTheirMarks) {
  const auto [status, output] = RunTetherhost("items " + kEdit + " --ids 5E7A1C0D-0000-4000-8000-000000000011");
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
  const auto unknown = RunTetherhost("items " + kEdit + " --ids " + kilncore::utility::Guid::CreateUnique().AsUTF8String());
  EXPECT_EQ(unknown.first, 1);
  EXPECT_NE(unknown.second.find("tetherhost: the items of"), std::string::npos) << unknown.second;
  const auto missing = RunTetherhost("items /no/such/project.tlmproj --ids 5E7A1C0D-0000-4000-8000-000000000011");
  EXPECT_EQ(missing.first, 1);
  EXPECT_EQ(missing.second, "tetherhost: no such file: /no/such/project.tlmproj (0xA00F0003, file missing)\n");
  const auto bad = RunTetherhost("items " + kEdit + " --ids junk");
  EXPECT_EQ(bad.first, 2);
  EXPECT_EQ(bad.second, "tetherhost: not an item identifier: junk (see 'tetherhost items --help')\n");
}

TEST(SegmentsCommandTest, PrintsTwoSegmentsOfOneClipWithOneStreamAndTheStillRange) {
  const auto [status, output] =
      RunTetherhost("segments '" + (kHost / "smart.tlmproj").string() + "' --item 5E7A1C0D-0000-4000-8000-0000000000A1");
  ASSERT_EQ(status, 0) << output;
  const std::string shot = (kHost / "shot.png").string();
  int first = 0;
  int second = 0;
  char path[512] = {};
  const size_t at = output.find("segments");
  ASSERT_NE(at, std::string::npos) << output;
  ASSERT_EQ(std::sscanf(output.c_str() + at,
                        "segments (frames, clip stream instance id, media frames, file):\n  0-10  %d  100-110  %511s\n"
                        "  20-40  %d  120-140",
                        &first, path, &second),
            3)
      << output;
  EXPECT_EQ(first, second);
  EXPECT_EQ(path, shot);
  EXPECT_NE(output.find("still ranges (frames):\n  10-20\n"), std::string::npos) << output;
}

TEST(SegmentsCommandTest, BadRangesAreUsageErrors) {
  const auto [status, output] =
      RunTetherhost("segments '" + (kHost / "smart.tlmproj").string() + "' --item 5E7A1C0D-0000-4000-8000-0000000000A1 --range 9-3");
  EXPECT_EQ(status, 2);
  EXPECT_EQ(output, "tetherhost: not a frame range A-B: 9-3 (see 'tetherhost segments --help')\n");
}

TEST(ImportCommandTest, HostProjectSequenceImportsByItsIdentifier) {
  const fs::path out = fs::temp_directory_path() / ("host-sequence-" + kilncore::utility::Guid::CreateUnique().AsUTF8String());
  const auto [status, output] =
      RunTetherhost("import '" + (kHost / "smart.tlmproj").string() +
                    "' --item 5E7A1C0D-0000-4000-8000-0000000000A1 --frames 0-20/10 --out '" + out.string() + "'");
  ASSERT_EQ(status, 0) << output;
  EXPECT_NE(output.find("Smart 64x36"), std::string::npos) << output;
  EXPECT_NE(output.find("64 x 36"), std::string::npos) << output;
  for (const char* name : {"frame_00000.png", "frame_00010.png", "frame_00020.png", "contact-sheet.png"}) {
    EXPECT_TRUE(fs::exists(out / name)) << name;
  }
  fs::remove_all(out);
}

TEST(ImportCommandTest, UnknownSequenceOfAHostProjectFailsInOneLine) {
  const fs::path out = fs::temp_directory_path() / ("host-sequence-" + kilncore::utility::Guid::CreateUnique().AsUTF8String());
  const std::string unknown = kilncore::utility::Guid::CreateUnique().AsUTF8String();
  const auto [status, output] = RunTetherhost("import '" + (kHost / "smart.tlmproj").string() + "' --item " +
                                              unknown + " --frames 0 --out '" + out.string() + "'");
  EXPECT_EQ(status, 1) << output;
  // The server's own reason, not the failed listing of a Marl project's items.
  EXPECT_NE(output.find("the project has no item " + unknown), std::string::npos) << output;
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
  EXPECT_EQ(output.rfind("tetherhost: ", 0), 0u) << output;
  EXPECT_FALSE(fs::exists(out / "frame_00000.png"));
  fs::remove_all(out);
}

}  // namespace
