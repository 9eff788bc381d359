#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <tether/MissingAssets.h>
#include <tether/MissingFont.h>

#include <map>
#include <vector>

namespace TetherMedia {

// The reports of AddMissingAssets by item path. std::u16string compares by
// code unit, so entries are visited in the order of the paths' UTF-16 units.
// Made when the module is loaded; guarded by gMissingAssetsMutex.
using MissingAssetsByProject = std::map<kilncore::WideString, tether::MissingAssets>;
extern MissingAssetsByProject gMissingAssetsByProject;
extern kilncore::threads::RecursiveMutex gMissingAssetsMutex;

// Appends to `result` each font of `fonts` whose identityA and identityB (byte
// for byte) match no font already in `result`, in order. Needs no lock.
void MergeMissingFonts(std::vector<tether::MissingFont>& result,
                       const std::vector<tether::MissingFont>& fonts);

}  // namespace TetherMedia
