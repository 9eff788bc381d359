#include "host/output/OutputFile.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace tetherhost {
namespace {

class OutputFileTest : public ::testing::Test {
 protected:
  OutputFileTest()
      : mFolder(std::filesystem::temp_directory_path() /
                ("tetherhost-output-" + std::to_string(::getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
    std::filesystem::create_directories(mFolder);
  }
  ~OutputFileTest() override { std::filesystem::remove_all(mFolder); }

  static std::string Contents(const std::filesystem::path& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  std::filesystem::path mFolder;
};

TEST_F(OutputFileTest, TemporaryNameIsHiddenBesideTheFinalOne) {
  const OutputFile file(mFolder / "frame.png");
  EXPECT_EQ(file.temporary().parent_path(), mFolder);
  EXPECT_EQ(file.temporary().filename().string().rfind(".frame.png.part-", 0), 0u) << file.temporary();
}

TEST_F(OutputFileTest, CommitReplacesTheOldFileWhole) {
  std::ofstream(mFolder / "out.txt") << "old";
  {
    OutputFile file(mFolder / "out.txt");
    std::ofstream(file.temporary()) << "new";
    EXPECT_EQ(Contents(mFolder / "out.txt"), "old");
    file.Commit();
  }
  EXPECT_EQ(Contents(mFolder / "out.txt"), "new");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mFolder), {}), 1);
}

TEST_F(OutputFileTest, UncommittedFileIsRemovedAndTheOldOneKept) {
  std::ofstream(mFolder / "out.txt") << "old";
  {
    OutputFile file(mFolder / "out.txt");
    std::ofstream(file.temporary()) << "half";
  }
  EXPECT_EQ(Contents(mFolder / "out.txt"), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mFolder), {}), 1);
}

TEST_F(OutputFileTest, CommitWithoutAFileThrowsNamingIt) {
  OutputFile file(mFolder / "never.txt");
  try {
    file.Commit();
    ADD_FAILURE();
  } catch (const std::runtime_error& e) {
    EXPECT_NE(std::string(e.what()).find("never.txt"), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace tetherhost
