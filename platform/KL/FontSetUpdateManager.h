#pragma once

#include <KL/FontFolderWatch.h>
#include <KL/IFontSetWatcher.h>

#include <kilncore/classref/InterfaceRef.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KL::Utils {

// Whether the host tracks the fonts installed on the machine and tells
// watchers when they change. Host policy; the reference host answers true
// until told otherwise. Objects that would watch fonts register only when
// this is true. Both calls are thread-safe.
bool UseFontManager() noexcept;
void SetUseFontManager(bool use) noexcept;

// Tells every interested object that the set of installed fonts has changed.
//
// Watchers are held by weak reference only: registering doesn't keep an
// object alive, and an object that has gone is skipped and forgotten at the
// next announcement. Nothing needs to unregister. Registering the same live
// object twice keeps one entry, so it is told once per change.
//
// A watcher's OnFontSetChanged may take long (it may ask a server and wait),
// so it runs with no lock of the list held: a watcher may register others
// while being told. Announcements are serialised, so one watcher is never
// told of two changes at once; an announcement made from inside a watcher
// runs at once, nested in the one that is under way.
//
// All operations are thread-safe.
//
// Example:
//   KL::Utils::FontSetUpdateManager::GetInstance()->RegisterWatcher(watcherRef);
//   ...
//   KL::Utils::FontSetUpdateManager::GetInstance()->NotifyFontSetChanged();
class FontSetUpdateManager {
 public:
  // The host-wide manager. Never null.
  static FontSetUpdateManager* GetInstance();

  // A manager of its own, for tests and for hosts with several font scopes.
  FontSetUpdateManager() = default;
  FontSetUpdateManager(const FontSetUpdateManager&) = delete;
  FontSetUpdateManager& operator=(const FontSetUpdateManager&) = delete;

  // Adds `watcher` to the objects told of font changes. An expired or empty
  // reference is ignored.
  void RegisterWatcher(const std::weak_ptr<IFontSetWatcher>& watcher);
  // The same with the object's interface reference, which is not kept.
  void RegisterWatcher(const kilncore::classref::InterfaceRef<IFontSetWatcher>& watcher);

  // Calls OnFontSetChanged on every watcher that is still alive, in order of
  // registration, and forgets those that have gone. Returns how many
  // watchers answered that they reacted.
  size_t NotifyFontSetChanged();

  // The number of watchers that are still alive.
  size_t GetWatcherCount() const;

  // Notices changes of the machine's fonts by itself from now on: watches
  // `folders` (by default the folders fontconfig reads fonts from) and
  // announces every burst of changes in them on a thread of its own. A second
  // call replaces the folders. False if the folders can't be watched.
  bool WatchMachineFonts(std::vector<std::string> folders = {});
  // Stops noticing; waits for an announcement under way.
  void StopWatchingMachineFonts();

  // The folders fontconfig reads fonts from, with the machine's configuration
  // (or the file FONTCONFIG_FILE names).
  static std::vector<std::string> MachineFontFolders();

  ~FontSetUpdateManager();

 private:
  // Forgets the watchers that have gone. Needs mMutex.
  void PruneExpiredLocked();

  mutable std::mutex mMutex;  // guards mWatchers; never held while a watcher runs
  std::vector<std::weak_ptr<IFontSetWatcher>> mWatchers;
  std::recursive_mutex mAnnounceMutex;  // one announcement at a time
  std::mutex mWatchMutex;  // guards mWatch
  std::unique_ptr<FontFolderWatch> mWatch;
};

}  // namespace KL::Utils
