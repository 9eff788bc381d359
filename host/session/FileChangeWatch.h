#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace tetherhost {

// Watches one file through its folder with inotify, so that every way of
// changing it is seen: a save in place (the file written and closed), a save
// that renames a new file over it, a deletion or a rename away. `changed` runs
// on the watch's own thread at once for each, with the moment the kernel's
// report was read; nothing polls.
class FileChangeWatch {
 public:
  enum class Change { kWritten, kReplaced, kRemoved };
  using Clock = std::chrono::steady_clock;
  using Callback = std::function<void(Change change, Clock::time_point when)>;

  FileChangeWatch(std::filesystem::path file, Callback changed);
  // Stops the thread, waiting for a `changed` that is running.
  ~FileChangeWatch();
  FileChangeWatch(const FileChangeWatch&) = delete;
  FileChangeWatch& operator=(const FileChangeWatch&) = delete;

  // False if the folder couldn't be watched.
  bool IsWatching() const { return mWatch >= 0; }

  static const char* Name(Change change);

 private:
  void Run();

  const std::string mName;
  const Callback mChanged;
  int mInotify = -1;
  int mStop = -1;
  int mWatch = -1;
  std::thread mThread;
};

}  // namespace tetherhost
