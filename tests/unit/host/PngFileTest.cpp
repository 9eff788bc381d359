#include "host/output/PngFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace tetherhost {
namespace {

class PngFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mFolder = std::filesystem::temp_directory_path() /
              ("tetherhost-png-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
               "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(mFolder);
  }
  void TearDown() override { std::filesystem::remove_all(mFolder); }
  std::filesystem::path mFolder;
};

TEST_F(PngFileTest, WrittenPictureReadsBackByteForByte) {
  RgbaImage image(3, 2);
  for (size_t i = 0; i < image.bytes().size(); ++i) {
    image.bytes()[i] = static_cast<uint8_t>(i * 11);
  }
  // Alpha stays opaque so no premultiplication question arises.
  for (int32_t y = 0; y < 2; ++y) {
    for (int32_t x = 0; x < 3; ++x) {
      image.PixelAt(x, y)[3] = 255;
    }
  }
  const auto path = mFolder / "frame.png";
  PngFile::Write(path, image);
  const RgbaImage back = PngFile::Read(path);
  EXPECT_EQ(back.width(), 3);
  EXPECT_EQ(back.height(), 2);
  EXPECT_EQ(back.bytes(), image.bytes());
}

TEST_F(PngFileTest, NonSquarePixelsAreStatedAndSquareOnesAreNot) {
  RgbaImage image(2, 2);
  PngFile::Write(mFolder / "ntsc.png", image, {10, 11});
  const PixelAspect ntsc = PngFile::ReadPixelAspect(mFolder / "ntsc.png");
  EXPECT_EQ(ntsc.numerator, 10);
  EXPECT_EQ(ntsc.denominator, 11);
  PngFile::Write(mFolder / "square.png", image);
  EXPECT_TRUE(PngFile::ReadPixelAspect(mFolder / "square.png").square());
  EXPECT_THROW(PngFile::Write(mFolder / "bad.png", image, {0, 1}), std::invalid_argument);
}

TEST_F(PngFileTest, SixteenBitPictureReadsBackAtEightBits) {
  const float pixel[4] = {0.5f, 0.25f, 1.0f, 1.0f};
  std::vector<uint8_t> bytes(sizeof(pixel));
  std::memcpy(bytes.data(), pixel, sizeof(pixel));
  const Rgba16Image image = Rgba16Image::FromFrame({bytes.data(), 1, 1, 16, PixelLayout::kRGBA32F});
  EXPECT_EQ(std::vector<uint16_t>(image.PixelAt(0, 0), image.PixelAt(0, 0) + 4),
            (std::vector<uint16_t>{32768, 16384, 65535, 65535}));
  PngFile::Write(mFolder / "deep.png", image);
  std::ifstream in(mFolder / "deep.png", std::ios::binary);
  std::vector<char> header(26);
  in.read(header.data(), 26);
  EXPECT_EQ(header[24], 16) << "bit depth";
  EXPECT_EQ(header[25], 6) << "colour type RGBA";
}

TEST_F(PngFileTest, WritingLeavesNoTemporaryFileBehind) {
  RgbaImage image(1, 1);
  PngFile::Write(mFolder / "one.png", image);
  EXPECT_THROW(PngFile::Write(mFolder / "none.png", RgbaImage()), std::runtime_error);
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(mFolder)) names.push_back(entry.path().filename());
  EXPECT_EQ(names, (std::vector<std::string>{"one.png"}));
}

TEST_F(PngFileTest, ReadingSomethingElseThrows) {
  const auto path = mFolder / "not.png";
  std::ofstream(path) << "plain text";
  EXPECT_THROW(PngFile::Read(path), std::runtime_error);
  EXPECT_THROW(PngFile::Read(mFolder / "missing.png"), std::runtime_error);
}

TEST_F(PngFileTest, WritingEmptyOrIntoMissingFolderThrows) {
  EXPECT_THROW(PngFile::Write(mFolder / "empty.png", RgbaImage()), std::runtime_error);
  EXPECT_THROW(PngFile::Write(mFolder / "no" / "such" / "x.png", RgbaImage(1, 1)),
               std::runtime_error);
}

}  // namespace
}  // namespace tetherhost
