#include <kilnworkspace/workspace/WorkspaceUtils.h>

#include <kilnworkspace/workspace/GtkDrawSupplier.h>

#include <mutex>

namespace kilnworkspace::workspace {
namespace {

struct Windows {
  std::mutex mutex;
  std::shared_ptr<TopLevelWindow> main;
  std::shared_ptr<Workspace> processWorkspace;
};

Windows& GetWindows() {
  static Windows* windows = new Windows;
  return *windows;
}

}  // namespace

std::shared_ptr<TopLevelWindow> WorkspaceUtils::FindMainTopLevelWindow() {
  std::lock_guard<std::mutex> lock(GetWindows().mutex);
  return GetWindows().main;
}

void WorkspaceUtils::SetMainTopLevelWindow(std::shared_ptr<TopLevelWindow> window) {
  std::lock_guard<std::mutex> lock(GetWindows().mutex);
  GetWindows().main = std::move(window);
}

std::shared_ptr<Workspace> WorkspaceUtils::GetCurrentWorkspace() {
  std::lock_guard<std::mutex> lock(GetWindows().mutex);
  Windows& windows = GetWindows();
  if (windows.main) {
    // The window shares its workspace; hand out a handle that keeps it.
    return std::shared_ptr<Workspace>(windows.main, &windows.main->GetWorkspace());
  }
  if (!windows.processWorkspace) windows.processWorkspace = std::make_shared<Workspace>(GtkDrawSupplier::Open());
  return windows.processWorkspace;
}

}  // namespace kilnworkspace::workspace
