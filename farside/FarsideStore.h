#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace farside {

// One asset of one version of a production, as the service's folder describes
// it (docs/farside.md): the project file that holds it, the family of
// application that opens it, and the item of that project that it stands for.
struct AssetEntry {
  std::string production;
  std::string version;
  std::string asset;
  // "marl" (a Marl project) or "host-project" (a host project file).
  std::string family;
  // The project file's name, beside the version's assets.json.
  std::string file;
  // The composition or sequence, by name or identifier; empty: the first.
  std::string item;
  // Where the asset sits within the production, as links name it.
  std::string mediaPath;
  // Other assets of the same version that this one uses.
  std::vector<std::string> dependsOn;
  std::filesystem::path filePath;
};

struct ProductionEntry {
  std::string name;
  std::string latest;
  std::vector<std::string> versions;
  // Names the production had before; links made then still find it.
  std::vector<std::string> formerNames;
};

// The service's content: a folder of productions, read anew at every request
// so that a test (or an editor) may change it while the service runs.
// Names that could leave the folder (empty, ".", "..", with '/' or '\') name
// nothing. Throws std::runtime_error with the file and the reason when a
// description file is malformed.
class FarsideStore {
 public:
  explicit FarsideStore(std::filesystem::path root);

  std::vector<ProductionEntry> ListProductions() const;
  std::optional<ProductionEntry> FindProduction(const std::string& name) const;
  // The assets of `version` of `production` (empty version: the latest);
  // nothing if either is unknown.
  std::optional<std::vector<AssetEntry>> ListAssets(const std::string& production, const std::string& version) const;
  std::optional<AssetEntry> FindAsset(const std::string& production, const std::string& version,
                                      const std::string& asset) const;
  // The asset at `mediaPath` in the latest version of the production that is
  // or was called `production`.
  std::optional<AssetEntry> Locate(const std::string& production, const std::string& mediaPath) const;

  static bool IsSafeName(const std::string& name);

 private:
  std::filesystem::path mRoot;
};

}  // namespace farside
