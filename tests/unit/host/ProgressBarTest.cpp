#include "host/output/ProgressBar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace tetherhost {
namespace {

TEST(ProgressBarTest, FormatFillsCellsInProportion) {
  EXPECT_EQ(ProgressBar::Format(0.35, "Opening project", 10), "[###       ]  35% Opening project");
  EXPECT_EQ(ProgressBar::Format(1.0, "", 4), "[####] 100%");
}

TEST(ProgressBarTest, FormatClampsOutOfRangeAndNaN) {
  EXPECT_EQ(ProgressBar::Format(-2.0, "", 4), "[    ]   0%");
  EXPECT_EQ(ProgressBar::Format(7.0, "", 4), "[####] 100%");
  EXPECT_EQ(ProgressBar::Format(std::nan(""), "", 4), "[    ]   0%");
}

std::string ReadAll(std::FILE* file) {
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
    text += static_cast<char>(c);
  }
  return text;
}

TEST(ProgressBarTest, UnchangedLineIsNotRedrawn) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  ProgressBar bar(file, 4);
  EXPECT_TRUE(bar.Update(0.5, "a"));
  EXPECT_FALSE(bar.Update(0.504, "a"));
  EXPECT_TRUE(bar.Update(0.75, "a"));
  bar.Finish();
  EXPECT_EQ(ReadAll(file), "\r[##  ]  50% a\r[### ]  75% a\n");
  std::fclose(file);
}

TEST(ProgressBarTest, ShorterLinePadsOverTheLongerOne) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  ProgressBar bar(file, 1);
  bar.Update(0.0, "long message");
  bar.Update(1.0, "x");
  EXPECT_EQ(ReadAll(file), "\r[ ]   0% long message\r[#] 100% x" + std::string(11, ' '));
  bar.Finish();
  std::fclose(file);
}

TEST(ProgressBarTest, FinishWithoutDrawingWritesNothing) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  ProgressBar bar(file);
  bar.Finish();
  EXPECT_EQ(ReadAll(file), "");
  std::fclose(file);
}

}  // namespace
}  // namespace tetherhost
