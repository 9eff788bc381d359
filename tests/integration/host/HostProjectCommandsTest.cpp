// `tetherhost items` and `tetherhost segments` as a user runs them, against the
// reference server.
#include "RunTetherhost.h"

#include <host/output/PngFile.h>
#include <kilncore/utility/Guid.h>

#include <rapidjson/document.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

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

TEST(SegmentsCommandTest, AcceleratedRangesOfferFloatUnlessAPreviewFileStands) {
  const std::string smart = "segments '" + (kHost / "smart.tlmproj").string() + "' --item 5E7A1C0D-0000-4000-8000-0000000000A1";
  const auto rendered = RunTetherhost(smart);
  ASSERT_EQ(rendered.first, 0) << rendered.second;
  EXPECT_NE(rendered.second.find("accelerated ranges (frames, pixel format of a float export):\n  0-40  RGBF\n"),
            std::string::npos)
      << rendered.second;
  // Where media is taken over a preview file stands, and it is 8-bit.
  const auto preview = RunTetherhost(smart + " --preview-files");
  ASSERT_EQ(preview.first, 0) << preview.second;
  EXPECT_NE(preview.second.find("accelerated ranges (frames, pixel format of a float export):\n"
                                "  0-10  BGRA\n  10-20  RGBF\n  20-40  BGRA\n"),
            std::string::npos)
      << preview.second;
}

TEST(SegmentsCommandTest, JsonHoldsTheSegmentsStillRangesAndAcceleratedRangesOfTheRange) {
  const auto [status, output] = RunTetherhost("segments '" + (kHost / "smart.tlmproj").string() +
                                              "' --item 5E7A1C0D-0000-4000-8000-0000000000A1 --range 5-25 --json");
  ASSERT_EQ(status, 0) << output;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(output.c_str()).HasParseError()) << output;
  const auto& segments = json["segments"];
  ASSERT_EQ(segments.Size(), 2u) << output;
  EXPECT_EQ(segments[0]["start"].GetInt64(), 5);
  EXPECT_EQ(segments[0]["end"].GetInt64(), 10);
  EXPECT_EQ(segments[1]["start"].GetInt64(), 20);
  EXPECT_EQ(segments[1]["end"].GetInt64(), 25);
  EXPECT_EQ(segments[1]["mediaStart"].GetInt64(), 120);
  EXPECT_EQ(segments[0]["clipStream"].GetInt(), segments[1]["clipStream"].GetInt());
  EXPECT_EQ(std::string(segments[0]["file"].GetString()), (kHost / "shot.png").string());
  ASSERT_EQ(json["stillRanges"].Size(), 1u);
  EXPECT_EQ(json["stillRanges"][0]["start"].GetInt64(), 10);
  EXPECT_EQ(json["stillRanges"][0]["end"].GetInt64(), 20);
  ASSERT_EQ(json["acceleratedRanges"].Size(), 1u);
  EXPECT_EQ(json["acceleratedRanges"][0]["start"].GetInt64(), 5);
  EXPECT_EQ(json["acceleratedRanges"][0]["end"].GetInt64(), 25);
  EXPECT_STREQ(json["acceleratedRanges"][0]["pixelFormat"].GetString(), "RGBF");
}

TEST(SegmentsCommandTest, WritesAFrameOfTheClipStreamOfTheSegmentThatHoldsIt) {
  const fs::path out = fs::temp_directory_path() / ("clip-frame-" + kilncore::utility::Guid::CreateUnique().AsUTF8String() + ".png");
  const std::string smart = "segments '" + (kHost / "smart.tlmproj").string() + "' --item 5E7A1C0D-0000-4000-8000-0000000000A1";
  const auto [status, output] = RunTetherhost(smart + " --frame 25 --out '" + out.string() + "'");
  ASSERT_EQ(status, 0) << output;
  EXPECT_NE(output.find("frame 25 of its clip's stream: " + out.string() + "\n"), std::string::npos) << output;
  const tetherhost::RgbaImage image = tetherhost::PngFile::Read(out);
  ASSERT_EQ(image.width(), 64);
  ASSERT_EQ(image.height(), 36);
  const uint8_t* middle = image.PixelAt(40, 30);
  EXPECT_EQ((std::array<uint8_t, 4>{middle[0], middle[1], middle[2], middle[3]}),
            (std::array<uint8_t, 4>{30, 180, 60, 255}));  // the green shot
  fs::remove(out);
  // Frame 15 has the title above the shot: nothing is taken over there.
  const auto none = RunTetherhost(smart + " --frame 15 --out '" + out.string() + "'");
  EXPECT_EQ(none.first, 1);
  EXPECT_EQ(none.second, "tetherhost: no segment holds frame 15: no clip's media is taken over there, so no per-clip "
                         "stream draws it\n");
  EXPECT_FALSE(fs::exists(out));
  const auto alone = RunTetherhost(smart + " --frame 15");
  EXPECT_EQ(alone.first, 2) << alone.second;
  EXPECT_NE(alone.second.find("--frame requires --out"), std::string::npos) << alone.second;
}

TEST(SegmentsCommandTest, AcceleratedRangesOfAnAbsurdlyLongSequenceStopAtAMillionFrames) {
  const fs::path project =
      fs::temp_directory_path() / ("long-" + kilncore::utility::Guid::CreateUnique().AsUTF8String() + ".tlmproj");
  std::ofstream(project) << "<tolmenProject><sequence name='Long' id='5E7A1C0D-0000-4000-8000-0000000000F1' node='1' "
                            "width='64' height='36' rate='25/1'><videoTrack><clip id='1' media='none.png' start='0' "
                            "in='0' out='3000000'/></videoTrack></sequence></tolmenProject>";
  const auto [status, output] =
      RunTetherhost("segments '" + project.string() + "' --item 5E7A1C0D-0000-4000-8000-0000000000F1 --json");
  fs::remove(project);
  ASSERT_EQ(status, 0) << output;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(output.c_str()).HasParseError()) << output;
  EXPECT_TRUE(json["acceleratedRangesCut"].GetBool());
  ASSERT_EQ(json["acceleratedRanges"].Size(), 1u);
  EXPECT_EQ(json["acceleratedRanges"][0]["end"].GetInt64(), 1000000);
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
