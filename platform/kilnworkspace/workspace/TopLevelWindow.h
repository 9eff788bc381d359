#pragma once

#include <kilnworkspace/workspace/Workspace.h>

#include <kilnui/ui/UI_Node.h>

#include <boost/intrusive_ptr.hpp>

#include <memory>
#include <string>

namespace kilnworkspace::workspace {

// A window of the application at the top of the window tree, in a workspace.
// Dialogs open over it as children of its root node.
class TopLevelWindow {
 public:
  TopLevelWindow(std::string title, std::shared_ptr<Workspace> workspace);

  const std::string& GetTitle() const { return mTitle; }
  Workspace& GetWorkspace() const { return *mWorkspace; }
  // The node that dialogs of this window name as their parent.
  const boost::intrusive_ptr<kilnui::ui::UI_Node>& GetRootNode() const { return mRoot; }

 private:
  std::string mTitle;
  std::shared_ptr<Workspace> mWorkspace;
  boost::intrusive_ptr<kilnui::ui::UI_Node> mRoot;
};

}  // namespace kilnworkspace::workspace
