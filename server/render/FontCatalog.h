#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tetherserver {

// A font file that a family and style resolved to.
struct ResolvedFont {
  std::string file;  // absolute path
  int32_t index = 0;  // face in the file
  std::string family;
  std::string style;
  // The file's size and modification time: a font replaced in place resolves
  // to the same path but must still count as another font.
  uint64_t fileSize = 0;
  int64_t modifiedNanoseconds = 0;

  friend bool operator==(const ResolvedFont&, const ResolvedFont&) = default;
};

// The machine's fonts, as fontconfig sees them.
//
// One per process (fontconfig's own state is process-wide). By default it
// reads the machine's configuration, which FONTCONFIG_FILE can replace; a
// test, or the server's --fonts-config option, can point it at a
// configuration of its own with UseConfigFile. Rescan asks fontconfig whether
// any of its configuration files or font folders changed since the set was
// read, and reads it again if so: installing a font into a watched folder is
// seen at the next Rescan.
//
// Thread-safe: every fontconfig call is made under one lock.
class FontCatalog {
 public:
  static FontCatalog& Instance();

  FontCatalog(const FontCatalog&) = delete;
  FontCatalog& operator=(const FontCatalog&) = delete;

  // Reads the fontconfig file `path` (empty: the machine's configuration)
  // and uses it from now on. False, keeping the current set, if it doesn't
  // load.
  bool UseConfigFile(const std::string& path);

  // Reads the font set again if fontconfig's files or folders changed. True if
  // it did.
  bool Rescan();

  // Moves on at every Rescan that read the set again.
  uint64_t Generation() const;

  // The font `family` (and `style`, when given) resolves to; nothing when
  // fontconfig has no font of that family (its fallbacks don't count: a
  // project that asks for a family the machine lacks has a missing font).
  std::optional<ResolvedFont> Resolve(const std::string& family, const std::string& style) const;

  // The folders fontconfig reads fonts from.
  std::vector<std::string> FontFolders() const;

 private:
  FontCatalog();
  ~FontCatalog();

  struct Config;
  mutable std::mutex mMutex;
  Config* mConfig = nullptr;
  std::string mConfigFile;
  uint64_t mGeneration = 1;
};

}  // namespace tetherserver
