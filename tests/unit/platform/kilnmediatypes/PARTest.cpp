#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/PAR.h>

#include <gtest/gtest.h>

namespace {

using namespace kilnmediatypes;

TEST(PixelAspectRatioTest, DefaultIsSquare) {
  EXPECT_EQ(PixelAspectRatio(), kPixelAspectRatio_Square);
  EXPECT_DOUBLE_EQ(PixelAspectRatio().ToDouble(), 1.0);
}

TEST(PixelAspectRatioTest, ToDoubleDividesWidthByHeight) {
  EXPECT_DOUBLE_EQ(kPixelAspectRatio_Anamorphic2x.ToDouble(), 2.0);
  EXPECT_DOUBLE_EQ(kPixelAspectRatio_NTSC601.ToDouble(), 10.0 / 11.0);
  EXPECT_DOUBLE_EQ(kPixelAspectRatio_Any.ToDouble(), 0.0);
}

TEST(PixelAspectRatioTest, AnyIsOnlyEqualToItself) {
  EXPECT_TRUE(kPixelAspectRatio_Any.IsAny());
  EXPECT_FALSE(kPixelAspectRatio_Square.IsAny());
  EXPECT_NE(kPixelAspectRatio_Any, PixelAspectRatio(0, 1));
  EXPECT_NE(kPixelAspectRatio_Any, kPixelAspectRatio_Square);
  EXPECT_EQ(kPixelAspectRatio_Any, PixelAspectRatio(0, 0));
}

TEST(PixelAspectRatioTest, EqualValuesAreEqual) {
  EXPECT_EQ(PixelAspectRatio(4, 3), PixelAspectRatio(8, 6));
  EXPECT_NE(PixelAspectRatio(4, 3), PixelAspectRatio(3, 4));
}

TEST(FieldTypeTest, ValuesAndInterlacing) {
  EXPECT_EQ(kFieldType_Progressive, 0);
  EXPECT_EQ(kFieldType_UpperFirst, 1);
  EXPECT_EQ(kFieldType_LowerFirst, 2);
  EXPECT_EQ(kFieldType_Any, 4);
  EXPECT_EQ(sizeof(FieldType), 4u);
  EXPECT_TRUE(IsInterlaced(kFieldType_UpperFirst));
  EXPECT_TRUE(IsInterlaced(kFieldType_LowerFirst));
  EXPECT_FALSE(IsInterlaced(kFieldType_Progressive));
  EXPECT_FALSE(IsInterlaced(kFieldType_Any));
}

}  // namespace
