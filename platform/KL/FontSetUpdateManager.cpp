#include <KL/FontSetUpdateManager.h>

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <system_error>
#include <utility>

namespace KL::Utils {
namespace {

std::atomic<bool> gUseFontManager{true};

// Whether two weak references name the same object, alive or not.
bool SameObject(const std::weak_ptr<IFontSetWatcher>& a, const std::weak_ptr<IFontSetWatcher>& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace

bool UseFontManager() noexcept { return gUseFontManager.load(std::memory_order_acquire); }

void SetUseFontManager(bool use) noexcept { gUseFontManager.store(use, std::memory_order_release); }

FontSetUpdateManager* FontSetUpdateManager::GetInstance() {
  static FontSetUpdateManager instance;
  return &instance;
}

void FontSetUpdateManager::RegisterWatcher(const std::weak_ptr<IFontSetWatcher>& watcher) {
  if (watcher.expired()) return;
  const std::lock_guard lock(mMutex);
  PruneExpiredLocked();
  const bool known = std::any_of(mWatchers.begin(), mWatchers.end(),
                                 [&](const auto& entry) { return SameObject(entry, watcher); });
  if (!known) mWatchers.push_back(watcher);
}

void FontSetUpdateManager::RegisterWatcher(
    const kilncore::classref::InterfaceRef<IFontSetWatcher>& watcher) {
  RegisterWatcher(std::weak_ptr<IFontSetWatcher>(watcher.AsSharedPtr()));
}

size_t FontSetUpdateManager::NotifyFontSetChanged() {
  const std::lock_guard announcing(mAnnounceMutex);
  std::vector<std::shared_ptr<IFontSetWatcher>> alive;
  {
    const std::lock_guard lock(mMutex);
    PruneExpiredLocked();
    alive.reserve(mWatchers.size());
    for (const auto& entry : mWatchers) {
      if (auto watcher = entry.lock()) alive.push_back(std::move(watcher));
    }
  }
  size_t reacted = 0;
  for (const auto& watcher : alive) {
    if (watcher->OnFontSetChanged()) ++reacted;
  }
  return reacted;
}

size_t FontSetUpdateManager::GetWatcherCount() const {
  const std::lock_guard lock(mMutex);
  return static_cast<size_t>(std::count_if(mWatchers.begin(), mWatchers.end(),
                                           [](const auto& entry) { return !entry.expired(); }));
}

FontSetUpdateManager::~FontSetUpdateManager() { StopWatchingMachineFonts(); }

std::vector<std::string> FontSetUpdateManager::MachineFontFolders() {
  std::vector<std::string> folders;
  FcConfig* config = FcInitLoadConfig();
  if (!config) return folders;
  // The folders the configuration names; their sub-folders hold fonts too,
  // and are found by walking them.
  FcStrList* list = FcConfigGetFontDirs(config);
  while (list) {
    FcChar8* folder = FcStrListNext(list);
    if (!folder) break;
    folders.emplace_back(reinterpret_cast<const char*>(folder));
  }
  if (list) FcStrListDone(list);
  FcConfigDestroy(config);
  std::vector<std::string> all;
  for (const std::string& folder : folders) {
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) continue;
    all.push_back(folder);
    for (auto it = std::filesystem::recursive_directory_iterator(
             folder, std::filesystem::directory_options::skip_permission_denied, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
      if (it->is_directory(error)) all.push_back(it->path().string());
    }
  }
  std::sort(all.begin(), all.end());
  all.erase(std::unique(all.begin(), all.end()), all.end());
  return all;
}

bool FontSetUpdateManager::WatchMachineFonts(std::vector<std::string> folders) {
  FontFolderWatch::FolderList list;
  if (folders.empty()) {
    list = [] { return MachineFontFolders(); };
  } else {
    // Sub-folders of the given folders are watched as they come and go.
    list = [folders] {
      std::vector<std::string> all;
      for (const std::string& folder : folders) {
        all.push_back(folder);
        std::error_code error;
        for (auto it = std::filesystem::recursive_directory_iterator(
                 folder, std::filesystem::directory_options::skip_permission_denied, error);
             !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
          if (it->is_directory(error)) all.push_back(it->path().string());
        }
      }
      return all;
    };
  }
  auto watch = std::make_unique<FontFolderWatch>(std::move(list), [this] { NotifyFontSetChanged(); });
  if (!watch->IsWatching()) return false;
  std::unique_ptr<FontFolderWatch> previous;
  {
    const std::lock_guard lock(mWatchMutex);
    previous = std::exchange(mWatch, std::move(watch));
  }
  return true;  // `previous` stops here, outside the lock
}

void FontSetUpdateManager::StopWatchingMachineFonts() {
  std::unique_ptr<FontFolderWatch> stopped;
  {
    const std::lock_guard lock(mWatchMutex);
    stopped = std::move(mWatch);
  }
}

void FontSetUpdateManager::PruneExpiredLocked() {
  std::erase_if(mWatchers, [](const auto& entry) { return entry.expired(); });
}

}  // namespace KL::Utils
