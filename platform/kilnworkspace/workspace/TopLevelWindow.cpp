#include <kilnworkspace/workspace/TopLevelWindow.h>

#include <kilnui/controls/UI_Group.h>

namespace kilnworkspace::workspace {

TopLevelWindow::TopLevelWindow(std::string title, std::shared_ptr<Workspace> workspace)
    : mTitle(std::move(title)), mWorkspace(std::move(workspace)), mRoot(new kilnui::controls::UI_Group(false)) {
  mRoot->SetIdentifier("mainWindow");
}

}  // namespace kilnworkspace::workspace
