#include <host/session/FileChangeWatch.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace tetherhost {

FileChangeWatch::FileChangeWatch(std::filesystem::path file, Callback changed)
    : mName(file.filename().string()), mChanged(std::move(changed)) {
  mInotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  mStop = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (mInotify < 0 || mStop < 0) return;
  std::filesystem::path folder = file.parent_path();
  if (folder.empty()) folder = ".";
  mWatch = ::inotify_add_watch(mInotify, folder.c_str(),
                               IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR);
  if (mWatch < 0) return;
  mThread = std::thread([this] { Run(); });
}

FileChangeWatch::~FileChangeWatch() {
  if (mStop >= 0) {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(mStop, &one, sizeof one);
  }
  if (mThread.joinable()) mThread.join();
  if (mInotify >= 0) ::close(mInotify);
  if (mStop >= 0) ::close(mStop);
}

const char* FileChangeWatch::Name(Change change) {
  switch (change) {
    case Change::kWritten:
      return "written";
    case Change::kReplaced:
      return "replaced";
    case Change::kRemoved:
      return "removed";
  }
  return "changed";
}

void FileChangeWatch::Run() {
  pollfd descriptors[2] = {{mInotify, POLLIN, 0}, {mStop, POLLIN, 0}};
  alignas(inotify_event) char buffer[16 * 1024];
  for (;;) {
    if (::poll(descriptors, 2, -1) < 0) continue;
    if (descriptors[1].revents) return;
    const ssize_t size = ::read(mInotify, buffer, sizeof buffer);
    const Clock::time_point when = Clock::now();
    for (ssize_t offset = 0; size > 0 && offset < size;) {
      inotify_event event;
      std::memcpy(&event, buffer + offset, sizeof event);
      const char* name = buffer + offset + sizeof(inotify_event);
      offset += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
      if (event.len == 0 || mName != name) continue;
      if (event.mask & IN_CLOSE_WRITE) mChanged(Change::kWritten, when);
      if (event.mask & IN_MOVED_TO) mChanged(Change::kReplaced, when);
      if (event.mask & (IN_DELETE | IN_MOVED_FROM)) mChanged(Change::kRemoved, when);
    }
  }
}

}  // namespace tetherhost
