// `tetherhost list` of host projects and Final Cut Pro XML files, as a user
// runs it: the bin tree or the sequences, as lines and as JSON.
#include "RunTetherhost.h"

#include <rapidjson/document.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const fs::path kHost = fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "host";

struct Outcome {
  int status = -1;
  std::string out;
};

Outcome Tetherhost(const std::string& arguments) {
  auto [status, out] = tetherhosttest::RunTetherhost(arguments);
  return Outcome{status, std::move(out)};
}

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

TEST(ListHostProjectTest, BothFlavoursShowTheBinTreeWithSequenceSizeRateAndDuration) {
  for (const char* name : {"edit.tlmproj", "edit.tlmprojx"}) {
    const Outcome run = Tetherhost("list " + Quoted(kHost / name));
    ASSERT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out,
              "B7A1C0DE-0000-4000-8000-000000000001  bin Footage\n"
              "  C7A1C0DE-0000-4000-8000-000000000021  clip Title card  title-card.png\n"
              "  C7A1C0DE-0000-4000-8000-000000000022  clip Interview  interview.wav\n"
              "5E7A1C0D-0000-4000-8000-000000000011  sequence Main 1080p25  1920 x 1080  25 fps  200 frames (8.000 s)\n"
              "5E7A1C0D-0000-4000-8000-000000000012  sequence NTSC 29.97 lower field  720 x 480  29.97 fps  0 frames "
              "(0.000 s)\n")
        << name;
  }
}

TEST(ListHostProjectTest, HostProjectAsJsonNestsTheBinsChildren) {
  const Outcome run = Tetherhost("list " + Quoted(kHost / "edit.tlmproj") + " --json");
  ASSERT_EQ(run.status, 0) << run.out;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(run.out.c_str()).HasParseError()) << run.out;
  ASSERT_TRUE(json.IsArray());
  ASSERT_EQ(json.Size(), 3u);
  EXPECT_STREQ(json[0]["type"].GetString(), "bin");
  ASSERT_EQ(json[0]["children"].Size(), 2u);
  EXPECT_STREQ(json[0]["children"][1]["type"].GetString(), "clip");
  EXPECT_STREQ(json[0]["children"][1]["name"].GetString(), "Interview");
  EXPECT_STREQ(json[0]["children"][1]["media"].GetString(), "interview.wav");
  const auto& main = json[1];
  EXPECT_STREQ(main["id"].GetString(), "5E7A1C0D-0000-4000-8000-000000000011");
  EXPECT_STREQ(main["type"].GetString(), "sequence");
  EXPECT_EQ(main["width"].GetInt(), 1920);
  EXPECT_EQ(main["height"].GetInt(), 1080);
  EXPECT_EQ(main["frameRate"]["numerator"].GetInt64(), 25);
  EXPECT_EQ(main["frameRate"]["denominator"].GetInt64(), 1);
  EXPECT_EQ(main["durationFrames"].GetInt64(), 200);
  EXPECT_DOUBLE_EQ(main["durationSeconds"].GetDouble(), 8.0);
  EXPECT_EQ(json[2]["frameRate"]["numerator"].GetInt64(), 30000);
  EXPECT_EQ(json[2]["frameRate"]["denominator"].GetInt64(), 1001);
}

TEST(ListHostProjectTest, FinalCutXMLShowsItsSequencesWithoutTheBinsAroundThem) {
  const Outcome run = Tetherhost("list " + Quoted(kHost / "cut.xml"));
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(run.out.find("bin"), std::string::npos) << run.out;
  EXPECT_EQ(run.out.rfind("5E7A1C0D-0000-4000-8000-0000000000C1  sequence Cut 29.97 DF  64 x 36  29.97 fps  "
                          "120 frames (4.004 s)\n",
                          0),
            0u)
      << run.out;
  EXPECT_NE(run.out.find("  sequence Film 23.976  1920 x 1080  23.976 fps  0 frames (0.000 s)\n"), std::string::npos)
      << run.out;
}

TEST(ListHostProjectTest, FinalCutXMLAsJsonGivesEachSequencesSizeRateAndDuration) {
  const Outcome run = Tetherhost("list " + Quoted(kHost / "cut.xml") + " --json");
  ASSERT_EQ(run.status, 0) << run.out;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(run.out.c_str()).HasParseError()) << run.out;
  ASSERT_TRUE(json.IsArray());
  ASSERT_EQ(json.Size(), 2u);
  EXPECT_STREQ(json[0]["name"].GetString(), "Cut 29.97 DF");
  EXPECT_EQ(json[0]["width"].GetInt(), 64);
  EXPECT_EQ(json[0]["height"].GetInt(), 36);
  EXPECT_EQ(json[0]["durationFrames"].GetInt64(), 120);
  EXPECT_NEAR(json[0]["fps"].GetDouble(), 29.97, 0.001);
  EXPECT_STREQ(json[1]["name"].GetString(), "Film 23.976");
  EXPECT_EQ(json[1]["frameRate"]["numerator"].GetInt64(), 24000);
  EXPECT_EQ(json[1]["frameRate"]["denominator"].GetInt64(), 1001);
}

TEST(ListHostProjectTest, MalformedFilesFailInOneLineNamingTheElementAndLine) {
  const fs::path folder = fs::temp_directory_path() / ("list-host-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  std::ofstream(folder / "bad.xml") << "<xmeml version=\"5\">\n<sequence>\n<rate><timebase>0</timebase></rate>\n"
                                       "</sequence></xmeml>\n";
  std::ofstream(folder / "broken.tlmproj") << "<tolmenProject><sequence";
  const Outcome bad = Tetherhost("list " + Quoted(folder / "bad.xml"));
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, "tetherhost: " + (folder / "bad.xml").string() +
                         ": <timebase> is out of range [1, 1000] at /xmeml/sequence/rate/timebase (line 3)\n");
  const Outcome broken = Tetherhost("list " + Quoted(folder / "broken.tlmproj") + " --json");
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(broken.out.rfind("tetherhost: " + (folder / "broken.tlmproj").string() + ": ", 0), 0u) << broken.out;
  EXPECT_EQ(std::count(broken.out.begin(), broken.out.end(), '\n'), 1) << broken.out;
  fs::remove_all(folder);
}

}  // namespace
