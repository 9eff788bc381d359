#include "host/output/RawFrameWriter.h"
#include "host/output/StreamedWav.h"
#include "host/output/WavFile.h"
#include "host/output/Y4mWriter.h"

#include <gtest/gtest.h>

#include <sndfile.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace tetherhost {
namespace {

// Everything written to a temporary FILE, read back as bytes.
std::vector<uint8_t> Contents(std::FILE* file) {
  std::fflush(file);
  std::rewind(file);
  std::vector<uint8_t> bytes;
  int c = 0;
  while ((c = std::fgetc(file)) != EOF) bytes.push_back(static_cast<uint8_t>(c));
  return bytes;
}

RgbaImage Filled(int32_t width, int32_t height, std::vector<uint8_t> rgba) {
  RgbaImage image(width, height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) std::copy(rgba.begin(), rgba.end(), image.PixelAt(x, y));
  }
  return image;
}

TEST(StreamWritersTest, Y4mHeaderStatesSizeRateFieldsAspectAndRange) {
  EXPECT_EQ(Y4mWriter::Header({720, 480, 30000, 1001, 10, 11, 2}),
            "YUV4MPEG2 W720 H480 F30000:1001 Ib A10:11 C420jpeg XCOLORRANGE=LIMITED");
  EXPECT_EQ(Y4mWriter::Header({1920, 1080, 25, 1, 1, 1, 0}),
            "YUV4MPEG2 W1920 H1080 F25:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED");
  EXPECT_THROW(Y4mWriter(stdout, {0, 1, 25, 1, 1, 1, 0}), std::invalid_argument);
}

TEST(StreamWritersTest, Y4mFramesAreBt709AtLimitedRangeOverBlack) {
  std::FILE* file = std::tmpfile();
  {
    Y4mWriter writer(file, {3, 3, 25, 1, 1, 1, 0});
    writer.Write(Filled(3, 3, {255, 255, 255, 255}));
    writer.Write(Filled(3, 3, {255, 0, 0, 255}));
    // Transparent is black: the stream has no alpha.
    writer.Write(Filled(3, 3, {255, 255, 255, 0}));
    EXPECT_THROW(writer.Write(Filled(2, 2, {0, 0, 0, 255})), std::invalid_argument);
    EXPECT_EQ(writer.framesWritten(), 3);
  }
  const std::vector<uint8_t> bytes = Contents(file);
  std::fclose(file);
  const std::string header = Y4mWriter::Header({3, 3, 25, 1, 1, 1, 0}) + "\n";
  // 3 x 3 luma, then 2 x 2 of each chroma plane (odd sizes round up).
  const size_t frameBytes = 6 + 9 + 4 + 4;
  ASSERT_EQ(bytes.size(), header.size() + 3 * frameBytes);
  const auto frame = [&](int index) { return bytes.begin() + static_cast<long>(header.size() + index * frameBytes + 6); };
  EXPECT_EQ(std::vector<uint8_t>(frame(0), frame(0) + 17),
            (std::vector<uint8_t>{235, 235, 235, 235, 235, 235, 235, 235, 235, 128, 128, 128, 128, 128, 128, 128, 128}));
  // BT.709 red: Y 63, Cb 102, Cr 240.
  EXPECT_EQ(frame(1)[0], 63);
  EXPECT_EQ(frame(1)[9], 102);
  EXPECT_EQ(frame(1)[13], 240);
  EXPECT_EQ(frame(2)[0], 16);
}

TEST(StreamWritersTest, RawFramesAreThePicturesBytesBackToBack) {
  std::FILE* file = std::tmpfile();
  RawFrameWriter writer(file);
  writer.Write(Filled(1, 1, {1, 2, 3, 4}));
  writer.Write(Filled(1, 1, {5, 6, 7, 8}));
  EXPECT_EQ(Contents(file), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8}));
  std::fclose(file);
  EXPECT_EQ(RawFrameWriter::PixelFormatName(false), "rgba");
  EXPECT_EQ(RawFrameWriter::PixelFormatName(true), "rgba64le");
}

TEST(StreamWritersTest, StreamedWavReadsBackWithItsSamplesAndLayout) {
  using namespace kilnmediatypes;
  const auto path = std::filesystem::temp_directory_path() / ("streamed-" + std::to_string(::getpid()) + ".wav");
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  {
    StreamedWav wav(file, 48000, 2, 3, {kAudioChannelLabel_Left, kAudioChannelLabel_Right});
    const float left[3] = {0.5f, -0.5f, 0.25f};
    const float right[3] = {0.1f, 0.2f, 0.3f};
    wav.Append({left, right}, 2);
    wav.Append({left + 2, right + 2}, 1);
    EXPECT_THROW(wav.Append({left, right}, 1), std::invalid_argument);
  }
  std::fclose(file);
  const WavFile::Contents contents = WavFile::Read(path);
  std::filesystem::remove(path);
  EXPECT_EQ(contents.sampleRate, 48000);
  ASSERT_EQ(contents.channels.size(), 2u);
  EXPECT_EQ(contents.channels[0], (std::vector<float>{0.5f, -0.5f, 0.25f}));
  EXPECT_EQ(contents.channels[1], (std::vector<float>{0.1f, 0.2f, 0.3f}));
  EXPECT_EQ(contents.channelMap, (std::vector<int>{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT}));
}

TEST(StreamWritersTest, ChannelMaskFollowsTheLabelsInOrder) {
  using namespace kilnmediatypes;
  EXPECT_EQ(StreamedWav::ChannelMask({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                                      kAudioChannelLabel_LowFrequency, kAudioChannelLabel_LeftSurround,
                                      kAudioChannelLabel_RightSurround}),
            0x3Fu);
  EXPECT_EQ(StreamedWav::ChannelMask({kAudioChannelLabel_Mono}), 0x4u);
  EXPECT_EQ(StreamedWav::ChannelMask({kAudioChannelLabel_Right, kAudioChannelLabel_Left}), 0u);
  EXPECT_EQ(StreamedWav::ChannelMask({kAudioChannelLabel_Left, kAudioChannelLabel_Discrete}), 0u);
}

}  // namespace
}  // namespace tetherhost
