#include <kilnworkspace/workspace/WorkspaceUtils.h>

#include <kilnui/drawbot/ScriptedSupplier.h>

#include <gtest/gtest.h>

namespace {

using kilnworkspace::workspace::TopLevelWindow;
using kilnworkspace::workspace::Workspace;
using kilnworkspace::workspace::WorkspaceUtils;

TEST(WorkspaceUtilsTest, MainWindowIsWhatTheHostSet) {
  EXPECT_EQ(WorkspaceUtils::FindMainTopLevelWindow(), nullptr);
  auto supplier = std::make_shared<kilnui::drawbot::ScriptedSupplier>();
  auto window = std::make_shared<TopLevelWindow>("Main", std::make_shared<Workspace>(supplier));
  WorkspaceUtils::SetMainTopLevelWindow(window);
  EXPECT_EQ(WorkspaceUtils::FindMainTopLevelWindow(), window);
  EXPECT_EQ(window->GetWorkspace().GetDrawSupplier(), supplier);
  EXPECT_NE(window->GetRootNode(), nullptr);

  // Windows opened without a parent of their own go to the main window's
  // workspace, which stays alive as long as it is in use.
  auto workspace = WorkspaceUtils::GetCurrentWorkspace();
  EXPECT_EQ(workspace.get(), &window->GetWorkspace());
  WorkspaceUtils::SetMainTopLevelWindow(nullptr);
  window = nullptr;
  EXPECT_EQ(workspace->GetDrawSupplier(), supplier);
  EXPECT_EQ(WorkspaceUtils::FindMainTopLevelWindow(), nullptr);
}

TEST(WorkspaceUtilsTest, WorkspaceDrawsWithWhatItIsGiven) {
  Workspace workspace;
  EXPECT_EQ(workspace.GetDrawSupplier(), nullptr);
  auto supplier = std::make_shared<kilnui::drawbot::ScriptedSupplier>();
  workspace.SetDrawSupplier(supplier);
  EXPECT_EQ(workspace.GetDrawSupplier()->GetName(), "scripted");
}

}  // namespace
