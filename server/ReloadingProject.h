#pragma once

#include "SessionContent.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tetherserver {

// A project that follows its file. When a client asks for one of its items,
// the file is read again if its bytes differ from those of the last good read,
// so that an edit made in the owning application reaches the client at its
// next refresh. Only a good read replaces the content: a file that is
// half-written (an editor saving in place), gone, unreadable or no longer
// parses leaves the previous content serving, and the next ask tries again.
// A rename that puts a new file in place is a change of bytes like any other.
//
// Listings (containers, XML, missing assets) answer from the current content
// and don't read the file: only item requests do, which is what a refresh is.
//
// Thread-safe: one lock covers the current content and the read; the lock is
// held only for the read and parse of one small file.
class ReloadingProject : public SessionProject {
 public:
  // Opens the project again from its file; null with `status` set on failure.
  using Opener = std::function<std::shared_ptr<const SessionProject>(int32_t& status)>;

  // The bytes of `path` hashed, or nothing if the file can't be read.
  static std::optional<uint64_t> Fingerprint(const std::filesystem::path& path);

  // `initial` was opened from `path` when its bytes had `fingerprint`.
  ReloadingProject(std::filesystem::path path, uint64_t fingerprint, std::shared_ptr<const SessionProject> initial,
                   Opener opener);

  tether::MissingAssets GetMissingAssets() const override;
  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const kilncore::utility::Guid& id) const override;
  std::shared_ptr<const SessionItem> GetItem(const kilncore::utility::Guid& id) const override;
  std::optional<std::string> ItemsAsXML(const std::vector<kilncore::utility::Guid>& ids) const override;
  bool IsSourceLinked(const kilncore::utility::Guid& id) const override;
  uint64_t ContentGeneration() const override { return ReloadCount(); }
  std::shared_ptr<const SessionItem> CurrentItem(const kilncore::utility::Guid& id) const override;
  std::optional<uint32_t> RuntimeFontChange() const override;

  // Why the last read again failed (empty after a good one), for logs and tests.
  std::string LastReloadError() const;
  // How many times the content was replaced.
  uint64_t ReloadCount() const;

 private:
  // Reads the file again if it changed, and gives the content to serve.
  std::shared_ptr<const SessionProject> Current(bool followFile) const;

  const std::filesystem::path mPath;
  const Opener mOpener;
  mutable std::mutex mMutex;
  mutable uint64_t mFingerprint;
  mutable std::shared_ptr<const SessionProject> mCurrent;
  mutable std::string mLastError;
  mutable uint64_t mReloads = 0;
};

}  // namespace tetherserver
