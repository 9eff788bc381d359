#include <KL/FontSetUpdateManager.h>

#include <algorithm>
#include <atomic>

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

void FontSetUpdateManager::PruneExpiredLocked() {
  std::erase_if(mWatchers, [](const auto& entry) { return entry.expired(); });
}

}  // namespace KL::Utils
