#pragma once

#include <FarsideCL/FarsideResponse.h>

#include <filesystem>

namespace FarsideCL {
class FarsideServiceClient;
}

namespace tetherserver {

// The server's copies of remote assets' project files, on disk so that every
// session and every later run finds them: an asset of a version never
// changes, so a copy fetched once serves until the folder is cleared. Copies
// are keyed by service address, production, version and asset; names are
// escaped so that no text of the service leaves the folder.
//
// A copy is written to a name of its own and renamed into place when it is
// whole and has the size the service announced, so a fetch cut short leaves
// nothing behind, and two sessions fetching at once both end with a whole
// file. Thread-safe.
class FarsideAssetCache {
 public:
  explicit FarsideAssetCache(std::filesystem::path folder);

  // TETHER_SERVER_CACHE if set, else $XDG_CACHE_HOME/tether-server, else
  // ~/.cache/tether-server, else tether-server-cache in the temporary folder.
  static std::filesystem::path DefaultFolder();

  // The local copy of `record`'s file, fetched through `client` when there is
  // none yet. Throws FarsideCL::FarsideServiceError for a failed or short
  // fetch, std::filesystem::filesystem_error when the copy can't be written.
  std::filesystem::path Fetch(const FarsideCL::FarsideServiceClient& client,
                              const FarsideCL::FarsideAssetRecord& record) const;

  // Where the copy of `record` goes, fetched or not.
  std::filesystem::path PathOf(const std::string& address, const FarsideCL::FarsideAssetRecord& record) const;

 private:
  std::filesystem::path mFolder;
};

}  // namespace tetherserver
