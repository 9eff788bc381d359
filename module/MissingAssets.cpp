#include <TetherMedia/MissingAssets.h>

#include <module/MissingAssetsRegistry.h>

#include <algorithm>

namespace TetherMedia {

MissingAssetsByProject gMissingAssetsByProject;
kilncore::threads::RecursiveMutex gMissingAssetsMutex;

namespace {

bool IsSameFont(const tether::MissingFont& a, const tether::MissingFont& b) {
  return a.identityA == b.identityA && a.identityB == b.identityB;
}

}  // namespace

void MergeMissingFonts(std::vector<tether::MissingFont>& result,
                       const std::vector<tether::MissingFont>& fonts) {
  for (const tether::MissingFont& font : fonts) {
    const bool known = std::any_of(result.begin(), result.end(),
                                   [&](const tether::MissingFont& seen) { return IsSameFont(seen, font); });
    if (!known) result.push_back(font);
  }
}

void AddMissingAssets(const tether::MissingAssets& assets, const kilncore::WideString& path) {
  kilncore::threads::ScopedRecursiveLock lock(gMissingAssetsMutex);
  // Only fonts are ever reported back to the user, so a report without any
  // isn't worth keeping; and the first report of an item is the one its user
  // saw, so a later one doesn't replace it.
  if (assets.fonts.empty()) return;
  gMissingAssetsByProject.try_emplace(path, assets);
}

std::vector<tether::MissingFont> GetMissingFonts() {
  kilncore::threads::ScopedRecursiveLock lock(gMissingAssetsMutex);
  std::vector<tether::MissingFont> result;
  if (gMissingAssetsByProject.empty()) return result;
  auto entry = gMissingAssetsByProject.begin();
  // The first list is taken as it is, duplicates and all; only later lists are
  // merged against what came before.
  result = entry->second.fonts;
  for (++entry; entry != gMissingAssetsByProject.end(); ++entry) {
    MergeMissingFonts(result, entry->second.fonts);
  }
  return result;
}

void ResetMissingFonts() {
  kilncore::threads::ScopedRecursiveLock lock(gMissingAssetsMutex);
  gMissingAssetsByProject.clear();
}

}  // namespace TetherMedia
