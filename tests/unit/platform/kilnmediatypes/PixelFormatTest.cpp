#include <kilnmediatypes/PixelFormat.h>

#include <gtest/gtest.h>

namespace {

using namespace kilnmediatypes;

TEST(PixelFormatTest, FourCCHasTheFirstCharacterInTheHighByte) {
  EXPECT_EQ(MakeFourCC('B', 'G', 'R', 'A'), 0x42475241u);
  EXPECT_EQ(kPixelFormat_BGRA_4444_8u.fourcc, 0x42475241u);
}

TEST(PixelFormatTest, BothPartsTakePartInComparison) {
  const PixelFormat a(MakeFourCC('A', 'B', 'C', 'D'), 1);
  const PixelFormat b(MakeFourCC('A', 'B', 'C', 'D'), 2);
  EXPECT_NE(a, b);
  EXPECT_LT(a, b);
  EXPECT_EQ(a, PixelFormat(MakeFourCC('A', 'B', 'C', 'D'), 1));
  EXPECT_LT(PixelFormat(1, 99), PixelFormat(2, 0));  // the code orders first
}

TEST(PixelFormatTest, DefaultsAndNamedFormats) {
  EXPECT_EQ(PixelFormat(), kPixelFormat_Invalid);
  EXPECT_FALSE(kPixelFormat_Invalid.IsValid());
  EXPECT_EQ(PixelFormat(kPixelFormat_BGRA_4444_8u.fourcc).properties, 0x78000u);
  EXPECT_NE(kPixelFormat_BGRA_4444_8u, kPixelFormat_RGBA_4444_32f);
  EXPECT_TRUE(IsFloatPixelFormat(kPixelFormat_RGBA_4444_32f));
  EXPECT_TRUE(IsFloatPixelFormat(kPixelFormat_BGRA_4444_32f));
  EXPECT_FALSE(IsFloatPixelFormat(kPixelFormat_BGRA_4444_8u));
}

TEST(SelectNearestPixelFormatTest, FirstWantedFormatThatIsOfferedWins) {
  const std::vector<PixelFormat> offered = {kPixelFormat_BGRA_4444_8u, kPixelFormat_BGRA_4444_32f};
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_VUYA_4444_8u, kPixelFormat_BGRA_4444_32f},
                                     kPixelFormat_Invalid, offered, 0, false),
            kPixelFormat_BGRA_4444_32f);
}

TEST(SelectNearestPixelFormatTest, AnyInTheOfferedListAdmitsTheWantedFormat) {
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_VUYA_4444_8u}, kPixelFormat_Invalid,
                                     {kPixelFormat_BGRA_4444_8u, kPixelFormat_Any}, 0, false),
            kPixelFormat_VUYA_4444_8u);
}

TEST(SelectNearestPixelFormatTest, PreferredFormatComesNext) {
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_VUYA_4444_8u}, kPixelFormat_BGRA_4444_32f,
                                     {kPixelFormat_BGRA_4444_8u, kPixelFormat_BGRA_4444_32f}, 0,
                                     false),
            kPixelFormat_BGRA_4444_32f);
}

TEST(SelectNearestPixelFormatTest, TheWantedCodeWithOtherPropertiesIsNearestOfAll) {
  const PixelFormat otherProperties(kPixelFormat_BGRA_4444_8u.fourcc, 5);
  const std::vector<PixelFormat> offered = {kPixelFormat_RGBA_4444_8u, kPixelFormat_BGRA_4444_32f,
                                            otherProperties};
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_8u}, kPixelFormat_Invalid, offered, 0, false),
            otherProperties);
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_8u}, kPixelFormat_Invalid, offered, 4, false),
            otherProperties);
}

TEST(SelectNearestPixelFormatTest, HighQualityKeepsTheDepthBeforeTheColourModel) {
  // 16-bit RGB wanted: an 8-bit format would lose precision, so the float
  // one wins even over a same-model 8-bit one, and the same model breaks the
  // tie between floats.
  const std::vector<PixelFormat> offered = {kPixelFormat_RGBA_4444_8u, kPixelFormat_VUYA_4444_32f,
                                            kPixelFormat_RGBA_4444_32f};
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_16u}, kPixelFormat_Invalid, offered, 3, false),
            kPixelFormat_RGBA_4444_32f);
  // With only lossy formats, the one that loses least.
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_32f}, kPixelFormat_Invalid,
                                     {kPixelFormat_VUYA_4444_8u, kPixelFormat_BGRA_4444_16u}, 3, false),
            kPixelFormat_BGRA_4444_16u);
  // Among formats that keep it, the smallest that suffices.
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_RGBA_4444_8u}, kPixelFormat_Invalid,
                                     {kPixelFormat_BGRA_4444_32f, kPixelFormat_BGRA_4444_16u}, 3, false),
            kPixelFormat_BGRA_4444_16u);
}

TEST(SelectNearestPixelFormatTest, BelowHighQualityTheColourModelComesFirstThenTheNearestDepth) {
  const std::vector<PixelFormat> offered = {kPixelFormat_VUYA_4444_8u, kPixelFormat_BGRA_4444_32f,
                                            kPixelFormat_RGBA_4444_8u};
  // 16-bit RGB wanted: both RGB formats are 8 bits away; the smaller wins.
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_16u}, kPixelFormat_Invalid, offered, 1, false),
            kPixelFormat_RGBA_4444_8u);
  // YUV wanted: the YUV format, though it is shallower.
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_VUYA_4444_32f}, kPixelFormat_Invalid, offered, 0, false),
            kPixelFormat_VUYA_4444_8u);
  // 8-bit RGB wanted: the 8-bit one rather than the first RGB one.
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_8u}, kPixelFormat_Invalid,
                                     {kPixelFormat_BGRA_4444_32f, kPixelFormat_RGBA_4444_8u}, 0, false),
            kPixelFormat_RGBA_4444_8u);
}

TEST(SelectNearestPixelFormatTest, UnnamedFormatsComeAfterNamedOnesAndTiesGoByOfferedOrder) {
  const PixelFormat unnamed(MakeFourCC('q', 'q', 'q', 'q'));
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_8u}, kPixelFormat_Invalid,
                                     {unnamed, kPixelFormat_VUYA_4444_8u}, 0, false),
            kPixelFormat_VUYA_4444_8u);
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_8u}, kPixelFormat_Invalid, {unnamed}, 0, false),
            unnamed);
  const PixelFormat rgbaOther(kPixelFormat_RGBA_4444_8u.fourcc, 7);
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_BGRA_4444_8u}, kPixelFormat_Invalid,
                                     {rgbaOther, kPixelFormat_RGBA_4444_8u}, 0, false),
            rgbaOther);
}

TEST(SelectNearestPixelFormatTest, AnUnnamedWantedFormatTakesTheDeepestAtHighQualityElseTheFirst) {
  const PixelFormat unnamed(MakeFourCC('q', 'q', 'q', 'q'));
  const std::vector<PixelFormat> offered = {kPixelFormat_BGRA_4444_8u, kPixelFormat_VUYA_4444_32f,
                                            kPixelFormat_BGRA_4444_16u};
  EXPECT_EQ(SelectNearestPixelFormat({unnamed}, kPixelFormat_Invalid, offered, 3, false),
            kPixelFormat_VUYA_4444_32f);
  EXPECT_EQ(SelectNearestPixelFormat({unnamed}, kPixelFormat_Invalid, offered, 2, false),
            kPixelFormat_BGRA_4444_8u);
  EXPECT_EQ(SelectNearestPixelFormat({}, kPixelFormat_Invalid, offered, 3, false), kPixelFormat_VUYA_4444_32f);
}

TEST(SelectNearestPixelFormatTest, ExactOnlyAndEmptyListsGiveInvalid) {
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_VUYA_4444_8u}, kPixelFormat_Invalid,
                                     {kPixelFormat_BGRA_4444_8u}, 0, true),
            kPixelFormat_Invalid);
  EXPECT_EQ(SelectNearestPixelFormat({kPixelFormat_VUYA_4444_8u}, kPixelFormat_Invalid, {}, 0,
                                     false),
            kPixelFormat_Invalid);
  EXPECT_EQ(SelectNearestPixelFormat({}, kPixelFormat_Invalid, {kPixelFormat_Any}, 0, false),
            kPixelFormat_Invalid);
}

}  // namespace
