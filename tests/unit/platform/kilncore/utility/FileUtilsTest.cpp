#include <kilncore/filesupport/File.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/FileUtils.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kilncore::utility {
namespace {

class TemporaryDirectory {
 public:
  TemporaryDirectory()
      : mPath(std::filesystem::temp_directory_path() /
              ("kilncore-fileutils-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
               "-" + std::to_string(reinterpret_cast<uintptr_t>(this)))) {
    std::filesystem::create_directories(mPath);
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  const std::filesystem::path& Path() const { return mPath; }
  WideString Wide(const std::string& name = "") const {
    return string::UTF8to16((name.empty() ? mPath : mPath / name).string());
  }

 private:
  std::filesystem::path mPath;
};

TEST(FileUtilsTest, FileOrDirExistsSeesFilesAndDirectories) {
  TemporaryDirectory directory;
  std::ofstream(directory.Path() / "Show.marlp") << "x";
  EXPECT_TRUE(FileUtils::FileOrDirExists(directory.Wide()));
  EXPECT_TRUE(FileUtils::FileOrDirExists(directory.Wide("Show.marlp")));
  EXPECT_FALSE(FileUtils::FileOrDirExists(directory.Wide("Missing.marlp")));
}

TEST(FileUtilsTest, FileOrDirExistsHandlesNonASCIINames) {
  TemporaryDirectory directory;
  const std::string name = "Caf\xC3\xA9 \xE2\x9C\x93.marlp";
  std::ofstream(directory.Path() / name) << "x";
  EXPECT_TRUE(FileUtils::FileOrDirExists(directory.Wide(name)));
}

TEST(FileUtilsTest, FileOrDirExistsIsFalseForTextThatIsNoPath) {
  EXPECT_FALSE(FileUtils::FileOrDirExists(u""));
  EXPECT_FALSE(FileUtils::FileOrDirExists(u"{\"production\":\"p\",\"asset\":\"a\"}"));
  EXPECT_FALSE(FileUtils::FileOrDirExists(WideStringView(u"/\0tmp", 5)));
  const char16_t brokenPath[] = {u'/', 0xDC00, u'x', 0};
  EXPECT_FALSE(FileUtils::FileOrDirExists(brokenPath));
}

TEST(FileUtilsTest, GetPathExtensionKeepsTheDotOnRequest) {
  EXPECT_EQ(FileUtils::GetPathExtension(u"C:\\x\\Show.marlp", true), ".marlp");
  EXPECT_EQ(FileUtils::GetPathExtension(u"C:\\x\\Show.marlp", false), "marlp");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/projects/catalogue.dslcat", true), ".dslcat");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/projects/Doc.ESD", true), ".ESD");
}

TEST(FileUtilsTest, GetPathExtensionTakesTheLastDotOfTheLastComponent) {
  EXPECT_EQ(FileUtils::GetPathExtension(u"/a.b/archive.tar.gz", true), ".gz");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/a.b/noextension", true), "");
  EXPECT_EQ(FileUtils::GetPathExtension(u"C:\\dir.v2\\file", true), "");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/home/.profile", true), "");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/home/name.", true), ".");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/home/name.", false), "");
  EXPECT_EQ(FileUtils::GetPathExtension(u"", true), "");
  EXPECT_EQ(FileUtils::GetPathExtension(u"/x/Caf\u00E9.\u00E9t\u00E9", true), ".\xC3\xA9t\xC3\xA9");
}

TEST(FileTest, HoldsItsPath) {
  const filesupport::File none;
  EXPECT_TRUE(none.IsEmpty());
  EXPECT_EQ(none.FullPath(), u"");
  const filesupport::File project(WideString(u"/projects/Show.marlp"));
  EXPECT_EQ(project.FullPath(), u"/projects/Show.marlp");
  EXPECT_EQ(project.FullPathUTF8(), "/projects/Show.marlp");
  EXPECT_EQ(filesupport::File(std::string_view("/projects/Show.marlp")), project);
  EXPECT_NE(none, project);
  EXPECT_FALSE(project.Exists());
}

TEST(FileTest, ExistsLooksAtTheDisk) {
  TemporaryDirectory directory;
  EXPECT_TRUE(filesupport::File(directory.Wide()).Exists());
}

}  // namespace
}  // namespace kilncore::utility
