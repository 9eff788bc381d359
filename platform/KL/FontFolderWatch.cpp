#include <KL/FontFolderWatch.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace KL::Utils {
namespace {

constexpr uint32_t kFolderEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB |
                                   IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

FontFolderWatch::FontFolderWatch(FolderList folders, std::function<void()> changed, std::chrono::milliseconds settle)
    : mFolders(std::move(folders)), mChanged(std::move(changed)), mSettle(settle) {
  mInotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  mStop = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (mInotify < 0 || mStop < 0) {
    if (mInotify >= 0) ::close(mInotify);
    if (mStop >= 0) ::close(mStop);
    mInotify = mStop = -1;
    return;
  }
  WatchFolders();
  mThread = std::thread([this] { Run(); });
}

FontFolderWatch::~FontFolderWatch() {
  if (mStop >= 0) {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(mStop, &one, sizeof one);
  }
  if (mThread.joinable()) mThread.join();
  if (mInotify >= 0) ::close(mInotify);
  if (mStop >= 0) ::close(mStop);
}

void FontFolderWatch::WatchFolders() {
  for (int watch : mWatches) ::inotify_rm_watch(mInotify, watch);
  mWatches.clear();
  for (const std::string& folder : mFolders()) {
    const int watch = ::inotify_add_watch(mInotify, folder.c_str(), kFolderEvents | IN_ONLYDIR);
    if (watch >= 0) mWatches.push_back(watch);
  }
}

bool FontFolderWatch::DrainEvents() {
  alignas(inotify_event) char buffer[16 * 1024];
  while (::read(mInotify, buffer, sizeof buffer) > 0) {
  }
  uint64_t stopped = 0;
  return ::read(mStop, &stopped, sizeof stopped) != static_cast<ssize_t>(sizeof stopped);
}

void FontFolderWatch::Run() {
  pollfd descriptors[2] = {{mInotify, POLLIN, 0}, {mStop, POLLIN, 0}};
  for (;;) {
    if (::poll(descriptors, 2, -1) < 0) continue;
    if (descriptors[1].revents) return;
    if (!DrainEvents()) return;
    // Quiet for `settle` before the burst counts as over.
    for (;;) {
      const int ready = ::poll(descriptors, 2, static_cast<int>(mSettle.count()));
      if (ready == 0) break;
      if (ready < 0) continue;
      if (descriptors[1].revents) return;
      if (!DrainEvents()) return;
    }
    WatchFolders();
    mChanged();
  }
}

}  // namespace KL::Utils
