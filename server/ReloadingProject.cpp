#include "ReloadingProject.h"

#include "FailureReason.h"

#include <xxhash.h>

#include <fstream>
#include <utility>

namespace tetherserver {

std::optional<uint64_t> ReloadingProject::Fingerprint(const std::filesystem::path& path) {
  // Only a regular file has bytes to compare; a directory or a device in its
  // place is as unreadable as a missing file.
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  std::ifstream in;
  in.exceptions(std::ios::goodbit);
  in.open(path, std::ios::binary);
  if (!in) return std::nullopt;
  XXH3_state_t* state = XXH3_createState();
  if (!state) return std::nullopt;
  XXH3_64bits_reset(state);
  char chunk[64 * 1024];
  try {
    while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
      XXH3_64bits_update(state, chunk, static_cast<size_t>(in.gcount()));
      if (in.eof()) break;
    }
  } catch (const std::exception&) {
    in.setstate(std::ios::badbit);
  }
  const bool good = !in.bad();
  const uint64_t hash = XXH3_64bits_digest(state);
  XXH3_freeState(state);
  if (!good) return std::nullopt;
  return hash;
}

ReloadingProject::ReloadingProject(std::filesystem::path path, uint64_t fingerprint,
                                   std::shared_ptr<const SessionProject> initial, Opener opener)
    : mPath(std::move(path)), mOpener(std::move(opener)), mFingerprint(fingerprint), mCurrent(std::move(initial)) {}

std::shared_ptr<const SessionProject> ReloadingProject::Current(bool followFile) const {
  std::lock_guard lock(mMutex);
  if (!followFile) return mCurrent;
  const std::optional<uint64_t> now = Fingerprint(mPath);
  if (!now) {
    // Gone or unreadable: the client sees the file's absence itself; until a
    // good file is back, what was read last keeps serving.
    mLastError = "the project file " + mPath.string() + " can't be read; its previous content is served";
    return mCurrent;
  }
  if (*now == mFingerprint) return mCurrent;
  int32_t status = 0;
  std::shared_ptr<const SessionProject> fresh;
  {
    // The reader's complaint about a half-written file is no failure of the
    // request that reached it: that one is served from the previous content.
    FailureReason::Scope quiet;
    fresh = mOpener(status);
    if (!fresh) {
      mLastError = "the project file " + mPath.string() + " didn't read again (" + quiet.Text() +
                   "); its previous content is served";
    }
  }
  if (!fresh) return mCurrent;
  mCurrent = std::move(fresh);
  mFingerprint = *now;
  mLastError.clear();
  ++mReloads;
  return mCurrent;
}

tether::MissingAssets ReloadingProject::GetMissingAssets() const { return Current(false)->GetMissingAssets(); }

std::optional<std::vector<tether::ItemInfo>> ReloadingProject::GetContainedItems(
    const kilncore::utility::Guid& id) const {
  return Current(false)->GetContainedItems(id);
}

std::shared_ptr<const SessionItem> ReloadingProject::GetItem(const kilncore::utility::Guid& id) const {
  return Current(true)->GetItem(id);
}

std::optional<std::string> ReloadingProject::ItemsAsXML(const std::vector<kilncore::utility::Guid>& ids) const {
  return Current(false)->ItemsAsXML(ids);
}

std::shared_ptr<const SessionItem> ReloadingProject::CurrentItem(const kilncore::utility::Guid& id) const {
  return Current(false)->GetItem(id);
}

bool ReloadingProject::IsSourceLinked(const kilncore::utility::Guid& id) const {
  return Current(true)->IsSourceLinked(id);
}

std::optional<uint32_t> ReloadingProject::RuntimeFontChange() const { return Current(false)->RuntimeFontChange(); }

std::string ReloadingProject::LastReloadError() const {
  std::lock_guard lock(mMutex);
  return mLastError;
}

uint64_t ReloadingProject::ReloadCount() const {
  std::lock_guard lock(mMutex);
  return mReloads;
}

}  // namespace tetherserver
