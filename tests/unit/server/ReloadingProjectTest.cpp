// A project that follows its file: an edit on disk is read at the next ask
// for an item, and a bad file never replaces good content.

#include "ServerTestSupport.h"

#include <server/ReloadingProject.h>
#include <server/SessionProjectContent.h>

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

namespace {

using kilncore::utility::Guid;
using tetherserver::ReloadingProject;
using tetherserver::SessionProject;

const Guid kMain("C0000000-0000-4000-8000-000000000001");
const Guid kVertical("C0000000-0000-4000-8000-000000000002");

class ReloadingProjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mOriginal = servertest::ReadExampleText("nested.marlp");
    mPath = mDir.Write("nested.marlp", mOriginal);
    mProject = Open();
    ASSERT_TRUE(mProject);
  }

  std::shared_ptr<const SessionProject> Open() {
    int32_t status = 0;
    return mContent.OpenProject("Marl", tether::File(kilncore::string::UTF8to16(mPath.string()), false), "",
                                status, {});
  }

  Guid State(const SessionProject& project, const Guid& id) {
    auto item = project.GetItem(id);
    EXPECT_TRUE(item);
    return item ? item->Describe().contentState : Guid();
  }

  const ReloadingProject& Reloading() { return dynamic_cast<const ReloadingProject&>(*mProject); }

  // The sample with the first occurrence of `from` replaced by `to`.
  std::string Edited(const std::string& from, const std::string& to) {
    std::string text = mOriginal;
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
  }

  servertest::TempDir mDir;
  tetherserver::SessionProjectContent mContent;
  std::string mOriginal;
  std::filesystem::path mPath;
  std::shared_ptr<const SessionProject> mProject;
};

TEST_F(ReloadingProjectTest, OpenedProjectFollowsItsFile) {
  EXPECT_NE(dynamic_cast<const ReloadingProject*>(mProject.get()), nullptr);
}

TEST_F(ReloadingProjectTest, EditOfAnItemChangesItsStateAtTheNextAsk) {
  const Guid before = State(*mProject, kMain);
  const Guid other = State(*mProject, kVertical);
  mDir.Write("nested.marlp", Edited("\"Main 1080p29.97 DF\"", "\"Main 1080p29.97 DF v2\""));
  EXPECT_NE(State(*mProject, kMain), before);
  EXPECT_EQ(State(*mProject, kVertical), other);
  EXPECT_EQ(Reloading().ReloadCount(), 1u);
}

TEST_F(ReloadingProjectTest, RewriteOfTheSameContentReadsNothingAgain) {
  const Guid before = State(*mProject, kMain);
  mDir.Write("nested.marlp", mOriginal);
  EXPECT_EQ(State(*mProject, kMain), before);
  EXPECT_EQ(Reloading().ReloadCount(), 0u);
}

TEST_F(ReloadingProjectTest, NewLayoutOfTheSameContentKeepsTheState) {
  const Guid before = State(*mProject, kMain);
  mDir.Write("nested.marlp", mOriginal + "\n\n   ");
  EXPECT_EQ(State(*mProject, kMain), before);
}

TEST_F(ReloadingProjectTest, StateIsTheSameForAnotherOpeningOfTheSameFile) {
  // What a restarted server would read.
  auto again = Open();
  ASSERT_TRUE(again);
  EXPECT_EQ(State(*again, kMain), State(*mProject, kMain));
}

TEST_F(ReloadingProjectTest, HalfWrittenFileKeepsThePreviousContentUntilAGoodOneIsRead) {
  const Guid before = State(*mProject, kMain);
  const std::string edited = Edited("\"Main 1080p29.97 DF\"", "\"Main, saved\"");
  mDir.Write("nested.marlp", edited.substr(0, edited.size() / 2));
  EXPECT_EQ(State(*mProject, kMain), before);
  EXPECT_NE(Reloading().LastReloadError().find("previous content"), std::string::npos);
  mDir.Write("nested.marlp", edited);
  EXPECT_NE(State(*mProject, kMain), before);
  EXPECT_TRUE(Reloading().LastReloadError().empty());
}

TEST_F(ReloadingProjectTest, EmptyFileKeepsThePreviousContent) {
  const Guid before = State(*mProject, kMain);
  mDir.Write("nested.marlp", "");
  EXPECT_EQ(State(*mProject, kMain), before);
}

TEST_F(ReloadingProjectTest, DeletedFileKeepsServingThePreviousContent) {
  const Guid before = State(*mProject, kMain);
  std::filesystem::remove(mPath);
  EXPECT_EQ(State(*mProject, kMain), before);
  EXPECT_FALSE(Reloading().LastReloadError().empty());
}

TEST_F(ReloadingProjectTest, FileReplacedByARenameIsRead) {
  const Guid before = State(*mProject, kMain);
  const auto staged = mDir.Write("nested.marlp.tmp", Edited("\"Main 1080p29.97 DF\"", "\"Main renamed\""));
  std::filesystem::rename(staged, mPath);
  EXPECT_NE(State(*mProject, kMain), before);
}

TEST_F(ReloadingProjectTest, UnreadablePathKeepsThePreviousContent) {
  const Guid before = State(*mProject, kMain);
  std::filesystem::remove(mPath);
  std::filesystem::create_directory(mPath);
  EXPECT_EQ(State(*mProject, kMain), before);
  std::filesystem::remove(mPath);
}

TEST_F(ReloadingProjectTest, ItemRemovedFromTheFileIsNoLongerServed) {
  mDir.Write("nested.marlp", Edited("C0000000-0000-4000-8000-000000000001", "C0000000-0000-4000-8000-0000000000FF"));
  EXPECT_FALSE(mProject->GetItem(kMain));
}

TEST_F(ReloadingProjectTest, HostProjectFollowsItsFileToo) {
  const std::string text = servertest::ReadExampleText("host/edit.tlmproj");
  const auto path = mDir.Write("edit.tlmproj", text);
  int32_t status = 0;
  auto project = mContent.OpenProject("Tolmen", tether::File(kilncore::string::UTF8to16(path.string()), false), "",
                                      status, {});
  ASSERT_TRUE(project);
  EXPECT_NE(dynamic_cast<const ReloadingProject*>(project.get()), nullptr);
}

}  // namespace
