#include "host/output/PngFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
