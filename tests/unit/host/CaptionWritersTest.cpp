#include <host/output/CaptionFile.h>
#include <host/output/SrtWriter.h>
#include <host/output/WebVttWriter.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace tetherhost {
namespace {

constexpr int64_t kSecond = 254016000000;

KL::CaptionStream Sample() {
  KL::CaptionStream stream;
  stream.id = 1;
  stream.label = "English";
  stream.cues = {{0, 2 * kSecond, "Good evening."},
                 {2 * kSecond + kSecond / 2, 3723 * kSecond + kSecond / 1000 * 45, "Two lines,\n\nand an --> arrow"},
                 {4000 * kSecond, 4001 * kSecond, "\n  \n"}};
  return stream;
}

std::filesystem::path TempPath(const std::string& name) {
  return std::filesystem::temp_directory_path() / ("captions-" + std::to_string(::getpid()) + "-" + name);
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(CaptionWritersTest, WebVttHasHeaderTimesAndSafeText) {
  EXPECT_EQ(WebVttWriter::Write(Sample()),
            "WEBVTT\n"
            "\n00:00:00.000 --> 00:00:02.000\nGood evening.\n"
            "\n00:00:02.500 --> 01:02:03.045\nTwo lines,\nand an --\xC2\xA0> arrow\n");
}

TEST(CaptionWritersTest, SrtNumbersCuesWithCommaTimes) {
  EXPECT_EQ(SrtWriter::Write(Sample()),
            "1\n00:00:00,000 --> 00:00:02,000\nGood evening.\n\n"
            "2\n00:00:02,500 --> 01:02:03,045\nTwo lines,\nand an --\xC2\xA0> arrow\n\n");
}

TEST(CaptionWritersTest, HoursGrowPastTwoDigits) {
  EXPECT_EQ(WebVttWriter::Time(360000 * kSecond), "100:00:00.000");
  EXPECT_EQ(WebVttWriter::Time(-5), "00:00:00.000");
}

TEST(CaptionWritersTest, FileFormatFollowsTheExtension) {
  const auto vtt = TempPath("a.VTT");
  const auto srt = TempPath("a.srt");
  CaptionFile::Write(vtt, Sample());
  CaptionFile::Write(srt, Sample());
  EXPECT_EQ(ReadAll(vtt).rfind("WEBVTT\n", 0), 0u);
  EXPECT_EQ(ReadAll(srt).rfind("1\n", 0), 0u);
  std::filesystem::remove(vtt);
  std::filesystem::remove(srt);
  EXPECT_THROW(CaptionFile::Write(TempPath("a.txt"), Sample()), std::invalid_argument);
  EXPECT_FALSE(std::filesystem::exists(TempPath("a.txt")));
}

TEST(CaptionWritersTest, FfmpegReadsBothFormats) {
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "ffmpeg is not installed";
  for (const char* name : {"check.vtt", "check.srt"}) {
    const auto path = TempPath(name);
    CaptionFile::Write(path, Sample());
    const auto converted = TempPath(std::string(name) + ".ass");
    const std::string command = "ffmpeg -v error -y -i '" + path.string() + "' '" + converted.string() + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << name;
    EXPECT_NE(ReadAll(converted).find("Good evening."), std::string::npos) << name;
    std::filesystem::remove(path);
    std::filesystem::remove(converted);
  }
}

}  // namespace
}  // namespace tetherhost
