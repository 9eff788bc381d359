#include <server/render/FontCatalog.h>

#include <fontconfig/fontconfig.h>

#include <sys/stat.h>

#include <cctype>
#include <string>
#include <utility>
#include <vector>

// gcc says it builds with the address sanitizer by a macro, clang by a feature
// test (the fuzz targets are built with clang).
#if defined(__SANITIZE_ADDRESS__)
#define TETHER_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TETHER_ADDRESS_SANITIZER 1
#endif
#endif

#if defined(TETHER_ADDRESS_SANITIZER)
// fontconfig's parser of its configuration files keeps a few allocations of
// its own that nothing frees (fontconfig 2.14); they are not ours, and would
// fail every sanitizer run of a process that looks up a font. Read by the
// leak checker of an address-sanitized build.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
#endif

namespace tetherserver {
namespace {

bool SameName(const std::string& a, const char* b) {
  const std::string other(b ? b : "");
  if (a.size() != other.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(other[i]))) {
      return false;
    }
  }
  return true;
}

// A configuration read from `file` (empty: the machine's), with its fonts.
FcConfig* LoadConfig(const std::string& file) {
  if (file.empty()) return FcInitLoadConfigAndFonts();
  FcConfig* config = FcConfigCreate();
  if (!config) return nullptr;
  if (!FcConfigParseAndLoad(config, reinterpret_cast<const FcChar8*>(file.c_str()), FcTrue) ||
      !FcConfigBuildFonts(config)) {
    FcConfigDestroy(config);
    return nullptr;
  }
  return config;
}

void FillFileFacts(ResolvedFont& font) {
  struct stat facts {};
  if (::stat(font.file.c_str(), &facts) != 0) return;
  font.fileSize = static_cast<uint64_t>(facts.st_size);
  font.modifiedNanoseconds = static_cast<int64_t>(facts.st_mtim.tv_sec) * 1000000000 + facts.st_mtim.tv_nsec;
}

// What fontconfig's files and folders look like now: each one's path and
// modification time to the nanosecond. fontconfig's own up-to-date check
// compares whole seconds, and so misses a font installed within the second of
// the previous check; this doesn't.
std::vector<std::pair<std::string, int64_t>> Snapshot(FcConfig* config) {
  std::vector<std::pair<std::string, int64_t>> entries;
  if (!config) return entries;
  for (FcStrList* list : {FcConfigGetConfigFiles(config), FcConfigGetFontDirs(config)}) {
    if (!list) continue;
    while (FcChar8* path = FcStrListNext(list)) {
      struct stat facts {};
      const bool exists = ::stat(reinterpret_cast<const char*>(path), &facts) == 0;
      const int64_t time =
          exists ? static_cast<int64_t>(facts.st_mtim.tv_sec) * 1000000000 + facts.st_mtim.tv_nsec : -1;
      entries.emplace_back(reinterpret_cast<const char*>(path), time);
    }
    FcStrListDone(list);
  }
  return entries;
}

}  // namespace

struct FontCatalog::Config {
  FcConfig* config = nullptr;
  std::vector<std::pair<std::string, int64_t>> snapshot;

  void Replace(FcConfig* loaded) {
    if (config) FcConfigDestroy(config);
    config = loaded;
    snapshot = Snapshot(config);
  }
};

FontCatalog& FontCatalog::Instance() {
  static FontCatalog* catalog = new FontCatalog();  // lives as long as the process
  return *catalog;
}

FontCatalog::FontCatalog() : mConfig(new Config) { mConfig->Replace(LoadConfig(std::string())); }

FontCatalog::~FontCatalog() {
  if (mConfig->config) FcConfigDestroy(mConfig->config);
  delete mConfig;
}

bool FontCatalog::UseConfigFile(const std::string& path) {
  FcConfig* loaded = LoadConfig(path);
  if (!loaded) return false;
  std::lock_guard lock(mMutex);
  mConfig->Replace(loaded);
  mConfigFile = path;
  ++mGeneration;
  return true;
}

bool FontCatalog::Rescan() {
  std::lock_guard lock(mMutex);
  if (mConfig->config && FcConfigUptoDate(mConfig->config) && Snapshot(mConfig->config) == mConfig->snapshot) {
    return false;
  }
  FcConfig* loaded = LoadConfig(mConfigFile);
  if (!loaded) return false;
  mConfig->Replace(loaded);
  ++mGeneration;
  return true;
}

uint64_t FontCatalog::Generation() const {
  std::lock_guard lock(mMutex);
  return mGeneration;
}

std::optional<ResolvedFont> FontCatalog::Resolve(const std::string& family, const std::string& style) const {
  if (family.empty()) return std::nullopt;
  std::lock_guard lock(mMutex);
  if (!mConfig->config) return std::nullopt;
  FcPattern* pattern = FcPatternCreate();
  if (!pattern) return std::nullopt;
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  if (!style.empty()) FcPatternAddString(pattern, FC_STYLE, reinterpret_cast<const FcChar8*>(style.c_str()));
  FcConfigSubstitute(mConfig->config, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultNoMatch;
  FcPattern* match = FcFontMatch(mConfig->config, pattern, &result);
  FcPatternDestroy(pattern);
  if (!match) return std::nullopt;

  std::optional<ResolvedFont> resolved;
  FcChar8* matchedFamily = nullptr;
  for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &matchedFamily) == FcResultMatch; ++i) {
    if (!SameName(family, reinterpret_cast<const char*>(matchedFamily))) continue;
    FcChar8* file = nullptr;
    if (FcPatternGetString(match, FC_FILE, 0, &file) != FcResultMatch) break;
    ResolvedFont font;
    font.file = reinterpret_cast<const char*>(file);
    int index = 0;
    if (FcPatternGetInteger(match, FC_INDEX, 0, &index) == FcResultMatch) font.index = index;
    font.family = reinterpret_cast<const char*>(matchedFamily);
    FcChar8* matchedStyle = nullptr;
    if (FcPatternGetString(match, FC_STYLE, 0, &matchedStyle) == FcResultMatch) {
      font.style = reinterpret_cast<const char*>(matchedStyle);
    }
    FillFileFacts(font);
    resolved = std::move(font);
    break;
  }
  FcPatternDestroy(match);
  return resolved;
}

std::vector<std::string> FontCatalog::FontFolders() const {
  std::lock_guard lock(mMutex);
  std::vector<std::string> folders;
  if (!mConfig->config) return folders;
  FcStrList* list = FcConfigGetFontDirs(mConfig->config);
  if (!list) return folders;
  while (FcChar8* folder = FcStrListNext(list)) folders.emplace_back(reinterpret_cast<const char*>(folder));
  FcStrListDone(list);
  return folders;
}

}  // namespace tetherserver
