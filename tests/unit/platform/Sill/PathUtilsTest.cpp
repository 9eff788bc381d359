#include <Sill/PathUtils.h>

#include <gtest/gtest.h>

namespace {

using Sill::PathUtils::GetFilePart;
using Sill::PathUtils::GetFullFilePart;

TEST(PathUtilsTest, FilePartDropsFolderAndExtension) {
  EXPECT_EQ(GetFilePart(u"C:\\x\\Show.marlp"), u"Show");
  EXPECT_EQ(GetFilePart(u"/home/u/Show.marlp"), u"Show");
}

TEST(PathUtilsTest, FullFilePartKeepsTheExtension) {
  EXPECT_EQ(GetFullFilePart(u"C:\\x\\Show.marlp"), u"Show.marlp");
  EXPECT_EQ(GetFullFilePart(u"/home/u/Show.marlp"), u"Show.marlp");
}

TEST(PathUtilsTest, MixedSeparatorsBothCount) {
  EXPECT_EQ(GetFullFilePart(u"C:/x\\y/Edit.tolmen"), u"Edit.tolmen");
}

TEST(PathUtilsTest, OnlyTheLastExtensionIsDropped) {
  EXPECT_EQ(GetFilePart(u"/a/b.tar.gz"), u"b.tar");
}

TEST(PathUtilsTest, LeadingDotIsNoExtension) {
  EXPECT_EQ(GetFilePart(u"/home/u/.profile"), u".profile");
}

TEST(PathUtilsTest, DotInAFolderNameIsNoExtension) {
  EXPECT_EQ(GetFilePart(u"/a.d/readme"), u"readme");
}

TEST(PathUtilsTest, NameWithoutFolderIsItsOwnFilePart) {
  EXPECT_EQ(GetFilePart(u"Show.marlp"), u"Show");
  EXPECT_EQ(GetFullFilePart(u"Show.marlp"), u"Show.marlp");
}

TEST(PathUtilsTest, TrailingSeparatorGivesAnEmptyPart) {
  EXPECT_EQ(GetFilePart(u"/a/b/"), u"");
  EXPECT_EQ(GetFullFilePart(u""), u"");
}

}  // namespace
