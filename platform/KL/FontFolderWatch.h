#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace KL::Utils {

// Watches font folders with inotify and calls `changed` on a thread of its own
// once per burst of changes: a font copied in, removed, renamed or rewritten,
// a folder added or removed. A burst ends when the folders have been quiet for
// `settle`, so that a font being copied is announced once, complete. After
// each burst the folders are asked for again (`folders`), so that a new
// sub-folder is watched too. There is no polling: the thread sleeps until the
// kernel reports a change or the watch is stopped.
//
// Folders that don't exist are skipped. The destructor stops the thread and
// waits for a `changed` that is running, so `changed` must not wait for the
// watch's owner.
class FontFolderWatch {
 public:
  using FolderList = std::function<std::vector<std::string>()>;

  FontFolderWatch(FolderList folders, std::function<void()> changed,
                  std::chrono::milliseconds settle = std::chrono::milliseconds(100));
  ~FontFolderWatch();
  FontFolderWatch(const FontFolderWatch&) = delete;
  FontFolderWatch& operator=(const FontFolderWatch&) = delete;

  // False if inotify couldn't be set up; nothing is then watched.
  bool IsWatching() const { return mInotify >= 0; }

 private:
  void Run();
  void WatchFolders();
  // Reads what the kernel reported; false once the watch is stopped.
  bool DrainEvents();

  const FolderList mFolders;
  const std::function<void()> mChanged;
  const std::chrono::milliseconds mSettle;
  int mInotify = -1;
  int mStop = -1;  // an eventfd that ends the thread
  std::vector<int> mWatches;
  std::thread mThread;
};

}  // namespace KL::Utils
