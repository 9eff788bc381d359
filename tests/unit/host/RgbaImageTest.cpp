#include "host/output/RgbaImage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace tetherhost {
namespace {

TEST(RgbaImageTest, BgraFrameIsReorderedToRgba) {
  // Two opaque pixels and four bytes of padding at the end of the row.
  const std::vector<uint8_t> bytes = {1, 2, 3, 255, 10, 20, 30, 255, 99, 99, 99, 99};
  const FrameView frame{bytes.data(), 2, 1, 12, PixelLayout::kBGRA8};
  const RgbaImage image = RgbaImage::FromFrame(frame);
  ASSERT_EQ(image.width(), 2);
  EXPECT_EQ(std::vector<uint8_t>(image.bytes()), (std::vector<uint8_t>{3, 2, 1, 255, 30, 20, 10, 255}));
}

TEST(RgbaImageTest, PremultipliedColourIsDividedByAlpha) {
  // The lower third of a title: blue-ish at alpha 14, premultiplied.
  const std::vector<uint8_t> bytes = {6, 1, 1, 14, 50, 60, 70, 0, 128, 64, 32, 128};
  const RgbaImage image = RgbaImage::FromFrame({bytes.data(), 3, 1, 12, PixelLayout::kBGRA8});
  EXPECT_EQ(std::vector<uint8_t>(image.bytes()),
            (std::vector<uint8_t>{18, 18, 109, 14, 0, 0, 0, 0, 64, 128, 255, 128}));
  const float pixel[4] = {0.05f, 0.1f, 0.2f, 0.5f};
  std::vector<uint8_t> floats(sizeof(pixel));
  std::memcpy(floats.data(), pixel, sizeof(pixel));
  const RgbaImage fromFloat = RgbaImage::FromFrame({floats.data(), 1, 1, 16, PixelLayout::kRGBA32F});
  EXPECT_EQ(std::vector<uint8_t>(fromFloat.bytes()), (std::vector<uint8_t>{26, 51, 102, 128}));
}

TEST(RgbaImageTest, RowBytesAreHonouredBetweenRows) {
  const std::vector<uint8_t> bytes = {1, 1, 1, 255, 0, 0, 0, 0, 2, 2, 2, 255, 0, 0, 0, 0};
  const RgbaImage image = RgbaImage::FromFrame({bytes.data(), 1, 2, 8, PixelLayout::kBGRA8});
  EXPECT_EQ(image.PixelAt(0, 1)[0], 2);
}

TEST(RgbaImageTest, FloatChannelsAreClampedAndRounded) {
  const float pixel[12] = {0.5f, 1.5f, -1.0f, 1.0f, 0.0f, 1.0f, 0.25f, 1.0f,
                           0.5f, 0.5f, 0.5f, std::numeric_limits<float>::quiet_NaN()};
  std::vector<uint8_t> bytes(sizeof(pixel));
  std::memcpy(bytes.data(), pixel, sizeof(pixel));
  const RgbaImage image = RgbaImage::FromFrame({bytes.data(), 3, 1, 48, PixelLayout::kRGBA32F});
  EXPECT_EQ(std::vector<uint8_t>(image.bytes()),
            (std::vector<uint8_t>{128, 255, 0, 255, 0, 255, 64, 255, 0, 0, 0, 0}));
}

TEST(RgbaImageTest, BlueFirstFloatsSwapRedAndBlue) {
  const float pixel[4] = {1.0f, 0.0f, 0.0f, 1.0f};
  std::vector<uint8_t> bytes(sizeof(pixel));
  std::memcpy(bytes.data(), pixel, sizeof(pixel));
  const RgbaImage image = RgbaImage::FromFrame({bytes.data(), 1, 1, 16, PixelLayout::kBGRA32F});
  EXPECT_EQ(std::vector<uint8_t>(image.bytes()), (std::vector<uint8_t>{0, 0, 255, 255}));
}

TEST(RgbaImageTest, ShortRowsAreRejected) {
  const std::vector<uint8_t> bytes(16);
  EXPECT_THROW(RgbaImage::FromFrame({bytes.data(), 4, 1, 15, PixelLayout::kBGRA8}),
               std::invalid_argument);
  EXPECT_THROW(RgbaImage::FromFrame({nullptr, 1, 1, 4, PixelLayout::kBGRA8}),
               std::invalid_argument);
}

TEST(RgbaImageTest, EmptyFrameGivesEmptyPicture) {
  EXPECT_TRUE(RgbaImage::FromFrame({nullptr, 0, 0, 0, PixelLayout::kBGRA8}).empty());
  EXPECT_THROW(RgbaImage(-1, 2), std::invalid_argument);
}

}  // namespace
}  // namespace tetherhost
