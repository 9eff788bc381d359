#include <host/cli/FourCharCode.h>
#include <host/cli/HostError.h>
#include <host/cli/OptionParsing.h>
#include <host/cli/ProgressText.h>
#include <host/cli/ReadableNames.h>
#include <host/cli/Suggestion.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace tetherhost {
namespace {

TEST(CommandLineValuesTest, FrameSizeIsWidthByHeight) {
  EXPECT_EQ(ParseFrameSize("1920x1080"), std::make_pair(1920, 1080));
  EXPECT_EQ(ParseFrameSize("16384x16384"), std::make_pair(16384, 16384));
  for (const char* bad : {"1920", "x1080", "1920x", "0x10", "-5x10", "10x10x10", "axb", "16385x10", "1e19x10",
                          "99999999999x10"}) {
    EXPECT_THROW(ParseFrameSize(bad), std::invalid_argument) << bad;
  }
}

TEST(CommandLineValuesTest, PixelFormatsAreTheTwoTheHostShows) {
  EXPECT_EQ(ParsePixelFormat("bgra8"), kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  EXPECT_EQ(ParsePixelFormat("rgba32f"), kilnmediatypes::kPixelFormat_RGBA_4444_32f);
  EXPECT_THROW(ParsePixelFormat("BGRA8"), std::invalid_argument);
}

TEST(CommandLineValuesTest, SwitchIsOnOffOrUnset) {
  EXPECT_EQ(ParseOnOff("on"), true);
  EXPECT_EQ(ParseOnOff("off"), false);
  EXPECT_EQ(ParseOnOff(""), std::nullopt);
  EXPECT_THROW(ParseOnOff("yes"), std::invalid_argument);
}

TEST(CommandLineValuesTest, ModuleFailureNamesItsCodeInHexAndWhatItMeans) {
  const HostError error("import of /p.marlp failed", static_cast<int32_t>(0xA00F0003u));
  EXPECT_EQ(error.Describe(), "import of /p.marlp failed (0xA00F0003, file missing)");
  EXPECT_EQ(HostError("no such item").Describe(), "no such item");
  EXPECT_EQ(DescribeResultCode(static_cast<int32_t>(0xF3610001u)), "server gone: the answer was never given");
  EXPECT_EQ(DescribeResultCode(-5), "unknown failure");
}

TEST(CommandLineValuesTest, OnlyNegativeCodesThrow) {
  EXPECT_NO_THROW(HostError::ThrowIfFailed(0, "x"));
  EXPECT_NO_THROW(HostError::ThrowIfFailed(1, "x"));
  try {
    HostError::ThrowIfFailed(static_cast<int32_t>(0xA00F0007u), "frame 3");
    ADD_FAILURE();
  } catch (const HostError& e) {
    EXPECT_EQ(e.code(), static_cast<int32_t>(0xA00F0007u));
    EXPECT_STREQ(e.what(), "frame 3 failed");
  }
}

TEST(CommandLineValuesTest, ProgressShowsTheDefaultTextWithItsArguments) {
  EXPECT_EQ(ProgressText("$$$/TetherServer/OpeningProject=Opening ^1", {"/projects/show.marlp"}),
            "Opening show.marlp");
  EXPECT_EQ(ProgressText("$$$/X=^2 of ^1", {"a", "b"}), "b of a");
  EXPECT_EQ(ProgressText("$$$/X=Missing ^3", {"a"}), "Missing ");
  EXPECT_EQ(ProgressText("NoDefaultText", {"a"}), "NoDefaultText");
}

TEST(CommandLineValuesTest, RealNumbersAreFiniteAndInRange) {
  EXPECT_EQ(ParseRealInRange("2.5", 0, 10), 2.5);
  EXPECT_EQ(ParseRealInRange("1e1", 0, 10), 10.0);
  for (const char* bad : {"nan", "NaN", "inf", "-inf", "1e19", "-1", "10.01", "", "2.5s", " 2"}) {
    EXPECT_THROW(ParseRealInRange(bad, 0, 10), std::invalid_argument) << bad;
  }
  try {
    ParseRealInRange("nan", 0.5, 100);
    ADD_FAILURE();
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "'nan' is not a number from 0.5 to 100");
  }
}

TEST(CommandLineValuesTest, WholeNumbersAreDecimalAndInRange) {
  EXPECT_EQ(ParseIntegerInRange("64", 0, 64), 64);
  for (const char* bad : {"65", "-1", "1.0", "1e2", "0x10", "", "99999999999999999999"}) {
    EXPECT_THROW(ParseIntegerInRange(bad, 0, 64), std::invalid_argument) << bad;
  }
}

TEST(CommandLineValuesTest, MistypedWordsSuggestTheClosestCandidate) {
  const std::vector<std::string> commands = {"demo", "list", "import", "play", "info"};
  EXPECT_EQ(Suggest("improt", commands), "import");
  EXPECT_EQ(Suggest("lst", commands), "list");
  EXPECT_EQ(Suggest("plya", commands), "play");
  EXPECT_EQ(Suggest("imp", commands), "import");
  EXPECT_EQ(Suggest("frobnicate", commands), std::nullopt);
  EXPECT_EQ(Suggest("", commands), std::nullopt);
}

TEST(CommandLineValuesTest, FourCharacterCodesShowTheirLettersOrHex) {
  EXPECT_EQ(FourCharCodeText(0x5454484Du), "'TTHM'");
  EXPECT_EQ(FourCharCodeText(1u), "0x00000001");
}

TEST(CommandLineValuesTest, NumbersOfTheHostShowAsNames) {
  EXPECT_EQ(FieldTypeName(0), "progressive");
  EXPECT_EQ(FieldTypeName(2), "interlaced, lower field first");
  EXPECT_EQ(FieldTypeName(7), "field type 7");
  EXPECT_EQ(TimeDisplayName(104), "25 fps timecode");
  EXPECT_EQ(TimeDisplayName(102), "29.97 fps drop-frame timecode");
  EXPECT_EQ(TimeDisplayName(999), "none");
  EXPECT_EQ(TimeDisplayName(5), "time display 5");
  EXPECT_EQ(ByteSizeText(1), "1 byte");
  EXPECT_EQ(ByteSizeText(1023), "1023 bytes");
  EXPECT_EQ(ByteSizeText(1536), "1.5 KiB");
  EXPECT_EQ(ByteSizeText(uint64_t{5} << 40), "5.0 TiB");
}

}  // namespace
}  // namespace tetherhost
