#pragma once

#include <kilnworkspace/workspace/TopLevelWindow.h>
#include <kilnworkspace/workspace/Workspace.h>

#include <memory>

namespace kilnworkspace::workspace {

// Finds the application's windows. The host sets its main window when it has
// one; until then, and in a host without windows, there is none. Thread-safe.
class WorkspaceUtils {
 public:
  // The application's main window; null if there is none.
  static std::shared_ptr<TopLevelWindow> FindMainTopLevelWindow();
  static void SetMainTopLevelWindow(std::shared_ptr<TopLevelWindow> window);

  // The workspace of windows opened with no main window to parent them: the
  // main window's if there is one, else the process's own. The process's own
  // draws with GTK when a display can be opened, and with nothing otherwise.
  static std::shared_ptr<Workspace> GetCurrentWorkspace();
};

}  // namespace kilnworkspace::workspace
