#include "host/output/ContactSheet.h"

#include <gtest/gtest.h>

namespace tetherhost {
namespace {

RgbaImage Solid(int32_t width, int32_t height, uint8_t value) {
  RgbaImage image(width, height);
  for (size_t i = 0; i < image.bytes().size(); i += 4) {
    image.bytes()[i] = value;
    image.bytes()[i + 1] = value;
    image.bytes()[i + 2] = value;
    image.bytes()[i + 3] = 255;
  }
  return image;
}

TEST(ContactSheetTest, CellsAreLaidOutLeftToRightThenDown) {
  ContactSheet sheet(2, 8, 2);
  sheet.Add(Solid(16, 8, 10));
  sheet.Add(Solid(16, 8, 20));
  sheet.Add(Solid(16, 8, 30));
  const RgbaImage image = sheet.Compose();
  // Cells are 8x4; two columns, two rows, gaps of 2 all round.
  ASSERT_EQ(image.width(), 2 * 8 + 3 * 2);
  ASSERT_EQ(image.height(), 2 * 4 + 3 * 2);
  EXPECT_EQ(image.PixelAt(2, 2)[0], 10);
  EXPECT_EQ(image.PixelAt(2 + 8 + 2, 2)[0], 20);
  EXPECT_EQ(image.PixelAt(2, 2 + 4 + 2)[0], 30);
  // The fourth cell is empty, and gaps are the background.
  EXPECT_EQ(image.PixelAt(2 + 8 + 2, 2 + 4 + 2)[0], 32);
  EXPECT_EQ(image.PixelAt(0, 0)[0], 32);
}

TEST(ContactSheetTest, ScalingAveragesTheCoveredPixels) {
  RgbaImage checker(2, 2);
  const uint8_t values[4] = {0, 100, 100, 200};
  for (int i = 0; i < 4; ++i) {
    uint8_t* pixel = checker.PixelAt(i % 2, i / 2);
    pixel[0] = pixel[1] = pixel[2] = values[i];
    pixel[3] = 255;
  }
  ContactSheet sheet(1, 1, 0);
  sheet.Add(checker);
  const RgbaImage image = sheet.Compose();
  ASSERT_EQ(image.width(), 1);
  EXPECT_EQ(image.PixelAt(0, 0)[0], 100);
}

TEST(ContactSheetTest, NarrowerFrameIsCentredInItsCell) {
  ContactSheet sheet(2, 8, 0);
  sheet.Add(Solid(8, 8, 50));
  sheet.Add(Solid(4, 8, 90));
  const RgbaImage image = sheet.Compose();
  EXPECT_EQ(image.PixelAt(8 + 1, 0)[0], 32);
  EXPECT_EQ(image.PixelAt(8 + 2, 0)[0], 90);
  EXPECT_EQ(image.PixelAt(8 + 5, 0)[0], 90);
  EXPECT_EQ(image.PixelAt(8 + 6, 0)[0], 32);
}

TEST(ContactSheetTest, NoFramesGiveNoPicture) {
  EXPECT_TRUE(ContactSheet(3, 10).Compose().empty());
  EXPECT_THROW(ContactSheet(0, 10), std::invalid_argument);
  EXPECT_THROW(ContactSheet(1, 10, -1), std::invalid_argument);
}

}  // namespace
}  // namespace tetherhost
