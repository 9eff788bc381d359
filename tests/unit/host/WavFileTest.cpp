#include "host/output/WavFile.h"

#include <gtest/gtest.h>

#include <sndfile.h>

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
    wav.Close();
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

TEST(WavFileTest, FileAppearsUnderItsNameOnlyWhenClosed) {
  const auto path = TempPath("unfinished.wav");
  const float samples[2] = {0.5f, 0.25f};
  {
    WavFile wav(path, 48000, 1);
    wav.Append({samples}, 2);
    EXPECT_FALSE(std::filesystem::exists(path));
  }
  // Dropped without Close(), as on a failure: nothing under the name, nothing beside it.
  EXPECT_FALSE(std::filesystem::exists(path));
  for (const auto& entry : std::filesystem::directory_iterator(path.parent_path())) {
    EXPECT_EQ(entry.path().filename().string().find("unfinished.wav"), std::string::npos) << entry.path();
  }
}

TEST(WavFileTest, SmallFileIsAPlainWavAndSixLabelledChannelsGetAFiveOneMask) {
  const auto path = TempPath("surround.wav");
  using namespace kilnmediatypes;
  const std::vector<AudioChannelLabel> labels = {kAudioChannelLabel_Left,         kAudioChannelLabel_Right,
                                                 kAudioChannelLabel_Center,       kAudioChannelLabel_LowFrequency,
                                                 kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround};
  {
    WavFile wav(path, 48000, 6, labels);
    const float samples[1] = {0.0f};
    wav.Append({samples, samples, samples, samples, samples, samples}, 1);
    wav.Close();
  }
  const WavFile::Contents contents = WavFile::Read(path);
  std::filesystem::remove(path);
  // Written as RF64 and turned back into a plain WAV because it stayed small.
  EXPECT_TRUE(contents.majorFormat == SF_FORMAT_WAV || contents.majorFormat == SF_FORMAT_WAVEX)
      << std::hex << contents.majorFormat;
  EXPECT_EQ(contents.channelMap, (std::vector<int>{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER,
                                                   SF_CHANNEL_MAP_LFE, SF_CHANNEL_MAP_REAR_LEFT,
                                                   SF_CHANNEL_MAP_REAR_RIGHT}));
}

TEST(WavFileTest, DiscreteChannelsGetNoMask) {
  const auto path = TempPath("discrete.wav");
  {
    WavFile wav(path, 48000, 3,
                {kilnmediatypes::kAudioChannelLabel_Discrete, kilnmediatypes::kAudioChannelLabel_Discrete,
                 kilnmediatypes::kAudioChannelLabel_Discrete});
    wav.Close();
  }
  const WavFile::Contents contents = WavFile::Read(path);
  std::filesystem::remove(path);
  EXPECT_TRUE(contents.channelMap.empty());
  EXPECT_THROW(WavFile(path, 48000, 2, {kilnmediatypes::kAudioChannelLabel_Left}), std::invalid_argument);
}

TEST(WavFileTest, BadParametersAndPathsThrow) {
  EXPECT_THROW(WavFile(TempPath("x.wav"), 0, 1), std::invalid_argument);
  EXPECT_THROW(WavFile("/no/such/folder/x.wav", 48000, 1), std::runtime_error);
  EXPECT_THROW(WavFile::Read("/no/such/file.wav"), std::runtime_error);
}

}  // namespace
}  // namespace tetherhost
