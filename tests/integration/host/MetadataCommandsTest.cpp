// An item's metadata through tetherhost as a user gets it: the description
// lines of `info`, the XMP packet and the captions of `import`, against the
// reference server; and what a user reads when the server fails them.
#include "RunTetherhost.h"

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using tetherhosttest::RunTetherhost;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const std::string kCaptioned = "'" + (kExamples / "host" / "captioned.tlmproj").string() + "'";
const std::string kMarkers = "'" + (kExamples / "markers.marlp").string() + "'";
const std::string kFilm = "5E7A1C0D-0000-4000-8000-000000000031";
const std::string kSilentNTSC = "5E7A1C0D-0000-4000-8000-000000000032";
const std::string kMonoPAL = "5E7A1C0D-0000-4000-8000-000000000033";

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class MetadataCommandsTest : public ::testing::Test {
 protected:
  MetadataCommandsTest()
      : mFolder(fs::temp_directory_path() / ("tetherhost-metadata-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~MetadataCommandsTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }

  std::string Import(const std::string& project, const std::string& item, const std::string& more) {
    return "import " + project + (item.empty() ? "" : " --item " + item) + " --frames 0 --out '" +
           (mFolder / "frames").string() + "' " + more;
  }

  std::string Path(const char* name) const { return (mFolder / name).string(); }

  fs::path mFolder;
};

TEST_F(MetadataCommandsTest, InfoPrintsTheDescriptionLinesBeforeTheStreams) {
  const auto [status, output] = RunTetherhost("info " + kCaptioned + " --item " + kFilm);
  ASSERT_EQ(status, 0) << output;
  EXPECT_EQ(output.rfind("Film 23.976 with captions/captioned.tlmproj\n1280 x 720\n00:00:04:00, 23.976 fps\n"
                         "Color Space: Rec. 709\n48000 Hz - 32 bit float - Stereo\n\nitem:",
                         0),
            0u)
      << output;
}

TEST_F(MetadataCommandsTest, InfoDescribesItemsAtEachRateWithAndWithoutAudio) {
  const auto silent = RunTetherhost("info " + kCaptioned + " --item " + kSilentNTSC);
  ASSERT_EQ(silent.first, 0) << silent.second;
  EXPECT_NE(silent.second.find("720 x 480\n00:00:02:00, 29.97 fps\nColor Space: Rec. 709\n\n"), std::string::npos)
      << silent.second;
  const auto mono = RunTetherhost("info " + kCaptioned + " --item " + kMonoPAL);
  ASSERT_EQ(mono.first, 0) << mono.second;
  EXPECT_NE(mono.second.find("00:00:02:00, 25.00 fps\nColor Space: Rec. 709\n44100 Hz - 32 bit float - Mono\n"),
            std::string::npos)
      << mono.second;
}

TEST_F(MetadataCommandsTest, InfoJsonCarriesTheDescriptionLines) {
  const auto [status, output] = RunTetherhost("info " + kMarkers + " --json");
  ASSERT_EQ(status, 0) << output;
  rapidjson::Document document;
  document.Parse(output.c_str());
  ASSERT_FALSE(document.HasParseError()) << output;
  ASSERT_TRUE(document.HasMember("description_lines"));
  const auto& lines = document["description_lines"];
  ASSERT_EQ(lines.Size(), 5u);
  EXPECT_STREQ(lines[0].GetString(), "Promo with markers/markers.marlp");
  EXPECT_STREQ(lines[2].GetString(), "00:00:10:00, 25.00 fps");
  EXPECT_TRUE(document.HasMember("streams"));
}

TEST_F(MetadataCommandsTest, ImportWritesTheXMPPacketThatExiv2Reads) {
  const auto [status, output] = RunTetherhost(Import(kMarkers, "", "--xmp '" + Path("promo.xmp") + "'"));
  ASSERT_EQ(status, 0) << output;
  EXPECT_NE(output.find("XMP packet: " + Path("promo.xmp")), std::string::npos) << output;
  const std::string command = "exiv2 -PXv '" + Path("promo.xmp") + "' > '" + Path("exiv2.txt") + "' 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << ReadAll(Path("exiv2.txt"));
  const std::string read = ReadAll(Path("exiv2.txt"));
  EXPECT_NE(read.find("Promo with markers"), std::string::npos) << read;
  EXPECT_NE(read.find("01:00:00:00"), std::string::npos) << read;
  EXPECT_NE(read.find("Logo"), std::string::npos) << read;
}

TEST_F(MetadataCommandsTest, ImportWritesTheSelectedCaptionStreamThatFfmpegReads) {
  const auto [status, output] =
      RunTetherhost(Import(kCaptioned, kFilm, "--captions '" + Path("de.vtt") + "' --caption-stream 1"));
  ASSERT_EQ(status, 0) << output;
  EXPECT_NE(output.find("(stream 2 \"Deutsch\", 2 cues)"), std::string::npos) << output;
  const std::string vtt = ReadAll(Path("de.vtt"));
  EXPECT_EQ(vtt,
            "WEBVTT\n\n00:00:00.000 --> 00:00:01.001\nGuten Abend.\n\n00:00:02.002 --> 00:00:04.004\n"
            "Heute: \xC3\xBC" "ber Untertitel.\n");
  const std::string command = "ffmpeg -v error -y -i '" + Path("de.vtt") + "' '" + Path("de.srt") + "' 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_NE(ReadAll(Path("de.srt")).find("Guten Abend."), std::string::npos);
}

TEST_F(MetadataCommandsTest, ImportWritesTheServersSelectedStreamAsSubRip) {
  const auto [status, output] = RunTetherhost(Import(kCaptioned, kFilm, "--captions '" + Path("en.srt") + "'"));
  ASSERT_EQ(status, 0) << output;
  EXPECT_EQ(ReadAll(Path("en.srt")).rfind("1\n00:00:00,000 --> 00:00:01,001\nGood evening.\n\n2\n", 0), 0u);
  const std::string command = "ffmpeg -v error -y -i '" + Path("en.srt") + "' '" + Path("en.vtt") + "' 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

TEST_F(MetadataCommandsTest, CaptionStreamOutOfRangeFailsInOneLine) {
  const auto [status, output] =
      RunTetherhost(Import(kCaptioned, kFilm, "--captions '" + Path("x.vtt") + "' --caption-stream 5"));
  EXPECT_EQ(status, 1);
  EXPECT_NE(output.find("tetherhost: --caption-stream 5: the item has caption streams 0-1\n"), std::string::npos)
      << output;
  EXPECT_FALSE(fs::exists(Path("x.vtt")));
}

TEST_F(MetadataCommandsTest, ItemWithoutCaptionsSaysSo) {
  const auto [status, output] = RunTetherhost(Import(kMarkers, "", "--captions '" + Path("x.srt") + "'"));
  EXPECT_EQ(status, 1);
  EXPECT_NE(output.find("tetherhost: the item has no captions"), std::string::npos) << output;
}

TEST_F(MetadataCommandsTest, BadCaptionOptionsAreUsageErrors) {
  const auto wrongFormat = RunTetherhost(Import(kCaptioned, kFilm, "--captions '" + Path("x.txt") + "'"));
  EXPECT_EQ(wrongFormat.first, 2) << wrongFormat.second;
  EXPECT_NE(wrongFormat.second.find("WebVTT (.vtt) or SubRip (.srt)"), std::string::npos) << wrongFormat.second;
  const auto alone = RunTetherhost(Import(kCaptioned, kFilm, "--caption-stream 1"));
  EXPECT_EQ(alone.first, 2) << alone.second;
}

TEST_F(MetadataCommandsTest, ServerLostDuringXMPFailsWithAClearLine) {
  const std::string environment = "TETHER_PROXY_SERVER='" TETHER_TEST_SERVER_EXECUTABLE
                                  "' TETHER_PROXY_FAULT=kill:source.render-xmp:1 "
                                  "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_PROXY_EXECUTABLE "'";
  const auto [status, output] =
      RunTetherhost(Import(kMarkers, "", "--xmp '" + Path("lost.xmp") + "'"), environment);
  EXPECT_EQ(status, 1) << output;
  EXPECT_NE(output.find("tetherhost: "), std::string::npos) << output;
  EXPECT_FALSE(fs::exists(Path("lost.xmp")));
}

}  // namespace
