#include "host/output/WavFile.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

namespace tetherhost {
namespace {

std::filesystem::path TempPath(const char* name) {
  return std::filesystem::temp_directory_path() /
         (std::string("tetherhost-wav-") + std::to_string(::getpid()) + "-" + name);
}

TEST(WavFileTest, PlanarBlocksReadBackInterleavedCorrectly) {
  const auto path = TempPath("blocks.wav");
  {
    WavFile wav(path, 48000, 2);
    const float left1[3] = {0.1f, 0.2f, 0.3f};
    const float right1[3] = {-0.1f, -0.2f, -0.3f};
    wav.Append({left1, right1}, 3);
    const float left2[1] = {0.4f};
    const float right2[1] = {-0.4f};
    wav.Append({left2, right2}, 1);
    EXPECT_EQ(wav.framesWritten(), 4);
  }
  const WavFile::Contents contents = WavFile::Read(path);
  std::filesystem::remove(path);
  EXPECT_EQ(contents.sampleRate, 48000);
  ASSERT_EQ(contents.channels.size(), 2u);
  EXPECT_EQ(contents.channels[0], (std::vector<float>{0.1f, 0.2f, 0.3f, 0.4f}));
  EXPECT_EQ(contents.channels[1], (std::vector<float>{-0.1f, -0.2f, -0.3f, -0.4f}));
}

TEST(WavFileTest, WrongChannelCountAndAppendAfterCloseThrow) {
  const auto path = TempPath("errors.wav");
  WavFile wav(path, 44100, 1);
  const float samples[1] = {0.0f};
  EXPECT_THROW(wav.Append({samples, samples}, 1), std::invalid_argument);
  wav.Close();
  EXPECT_THROW(wav.Append({samples}, 1), std::runtime_error);
  std::filesystem::remove(path);
}

TEST(WavFileTest, BadParametersAndPathsThrow) {
  EXPECT_THROW(WavFile(TempPath("x.wav"), 0, 1), std::invalid_argument);
  EXPECT_THROW(WavFile("/no/such/folder/x.wav", 48000, 1), std::runtime_error);
  EXPECT_THROW(WavFile::Read("/no/such/file.wav"), std::runtime_error);
}

}  // namespace
}  // namespace tetherhost
