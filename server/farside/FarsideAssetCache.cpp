#include <server/farside/FarsideAssetCache.h>

#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/FarsideServiceError.h>

#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

namespace tetherserver {
namespace {

namespace fs = std::filesystem;

// A file name that shows the text and can't climb out of its folder: letters,
// digits, '-', '_' and '.' stay, anything else becomes %XX, and a name of
// dots only gets a leading %2E.
std::string Escaped(const std::string& text) {
  std::string out;
  for (const unsigned char c : text) {
    if (std::isalnum(c) || c == '-' || c == '_' || c == '.') {
      out += static_cast<char>(c);
    } else {
      char hex[4];
      std::snprintf(hex, sizeof(hex), "%%%02X", c);
      out += hex;
    }
  }
  if (out.empty() || out.find_first_not_of('.') == std::string::npos) out = "%2E" + out;
  return out;
}

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

FarsideAssetCache::FarsideAssetCache(std::filesystem::path folder) : mFolder(std::move(folder)) {}

std::filesystem::path FarsideAssetCache::DefaultFolder() {
  if (const std::string own = Environment("TETHER_SERVER_CACHE"); !own.empty()) return own;
  if (const std::string xdg = Environment("XDG_CACHE_HOME"); !xdg.empty()) return fs::path(xdg) / "tether-server";
  if (const std::string home = Environment("HOME"); !home.empty()) {
    return fs::path(home) / ".cache" / "tether-server";
  }
  return fs::temp_directory_path() / "tether-server-cache";
}

std::filesystem::path FarsideAssetCache::PathOf(const std::string& address,
                                                const FarsideCL::FarsideAssetRecord& record) const {
  return mFolder / "farside" / Escaped(address) / Escaped(record.production) / Escaped(record.version) /
         Escaped(record.asset) / Escaped(record.file);
}

std::filesystem::path FarsideAssetCache::Fetch(const FarsideCL::FarsideServiceClient& client,
                                               const FarsideCL::FarsideAssetRecord& record) const {
  const fs::path path = PathOf(client.Address(), record);
  std::error_code error;
  // A service that announces no size (0) gets its copy taken as whole.
  const bool sized = record.size != 0;
  if (fs::is_regular_file(path, error) && (!sized || fs::file_size(path, error) == record.size)) return path;

  const std::string bytes = client.FetchAssetFile(record.production, record.version, record.asset);
  if (sized && bytes.size() != record.size) {
    throw FarsideCL::FarsideServiceError(200, "Farside service: the file of asset '" + record.asset + "' came with " +
                                                  std::to_string(bytes.size()) + " bytes of " +
                                                  std::to_string(record.size));
  }
  fs::create_directories(path.parent_path());
  static std::atomic<unsigned> counter{0};
  const fs::path partial = path.parent_path() / (path.filename().string() + ".part-" + std::to_string(getpid()) +
                                                 "-" + std::to_string(counter.fetch_add(1)));
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
      fs::remove(partial, error);
      throw fs::filesystem_error("cannot write the copy of a remote asset", partial,
                                 std::make_error_code(std::errc::io_error));
    }
  }
  fs::rename(partial, path);
  return path;
}

}  // namespace tetherserver
