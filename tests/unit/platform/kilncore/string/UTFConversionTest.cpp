#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace kilncore::string {
namespace {

const WideString kFFFD(1, u'\uFFFD');

TEST(UTFConversionTest, ConvertsValidTextBothWays) {
  const std::string utf8 = "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // A é € 😀
  const WideString utf16 = u"A\u00E9\u20AC\U0001F600";
  EXPECT_EQ(UTF8to16(utf8), utf16);
  EXPECT_EQ(UTF16to8(utf16), utf8);
  EXPECT_EQ(UTF8to16(""), u"");
  EXPECT_EQ(UTF16to8(u""), "");
}

TEST(UTFConversionTest, KeepsEmbeddedNul) {
  const std::string utf8("a\0b", 3);
  EXPECT_EQ(UTF8to16(utf8), WideString(u"a\0b", 3));
  EXPECT_EQ(UTF16to8(WideString(u"a\0b", 3)), utf8);
}

TEST(UTFConversionTest, MalformedUTF8BecomesOneReplacementPerSequence) {
  EXPECT_EQ(UTF8to16("a\x80" "b"), u"a" + kFFFD + u"b");             // stray continuation
  EXPECT_EQ(UTF8to16("a\xC3" "b"), u"a" + kFFFD + u"b");             // cut short, next kept
  EXPECT_EQ(UTF8to16("a\xE2\x82"), u"a" + kFFFD);                    // cut at the end
  EXPECT_EQ(UTF8to16("\xC0\x80"), kFFFD);                            // overlong NUL
  EXPECT_EQ(UTF8to16("\xED\xA0\x80"), kFFFD);                        // encoded surrogate
  EXPECT_EQ(UTF8to16("\xF4\x90\x80\x80"), kFFFD);                    // above U+10FFFF
  EXPECT_EQ(UTF8to16("\xFF" "x\xFE"), kFFFD + u"x" + kFFFD);         // bytes never used
}

TEST(UTFConversionTest, UnpairedSurrogatesBecomeReplacements) {
  const char16_t loneHigh[] = {u'a', 0xD83D, u'b', 0};
  const char16_t loneLow[] = {0xDE00, u'c', 0};
  const char16_t highAtEnd[] = {u'd', 0xD83D, 0};
  const char16_t twoHighs[] = {0xD83D, 0xD83D, 0xDE00, 0};
  EXPECT_EQ(UTF16to8(loneHigh), "a\xEF\xBF\xBD" "b");
  EXPECT_EQ(UTF16to8(loneLow), "\xEF\xBF\xBD" "c");
  EXPECT_EQ(UTF16to8(highAtEnd), "d\xEF\xBF\xBD");
  EXPECT_EQ(UTF16to8(twoHighs), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(UTFConversionTest, AsciiToUTF16WidensAndReplacesHighBytes) {
  EXPECT_EQ(AsciiToUTF16(".marlp"), u".marlp");
  EXPECT_EQ(AsciiToUTF16("a\xC3\xA9"), u"a" + kFFFD + kFFFD);
}

// Random bytes must never crash, and what comes out is always valid: it
// survives a second round trip unchanged.
TEST(UTFConversionTest, RandomInputNeverBreaksTheConversion) {
  std::mt19937 engine(1234);
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_int_distribution<int> unit(0, 0xFFFF);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(round % 40, '\0');
    for (char& c : bytes) c = static_cast<char>(byte(engine));
    const WideString wide = UTF8to16(bytes);
    EXPECT_EQ(UTF8to16(UTF16to8(wide)), wide);

    WideString units(round % 40, u'\0');
    for (char16_t& c : units) c = static_cast<char16_t>(unit(engine));
    const std::string narrow = UTF16to8(units);
    EXPECT_EQ(UTF16to8(UTF8to16(narrow)), narrow);
  }
}

}  // namespace
}  // namespace kilncore::string
