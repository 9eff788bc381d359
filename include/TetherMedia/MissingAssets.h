#pragma once

#include <TetherMedia/Export.h>
#include <kilncore/string/WideString.h>
#include <tether/MissingAssets.h>
#include <tether/MissingFont.h>

#include <vector>

namespace TetherMedia {

// A process-wide registry of what linked items report missing, so that the host
// can tell the user about missing fonts once rather than once per clip. Every
// function may be called from any thread.

// Remembers `assets` for the item at `path`. A report without fonts is dropped
// whole, and the first report for a path is kept: later ones change nothing.
// Paths are compared exactly, case included.
TETHERMEDIA_API void AddMissingAssets(const tether::MissingAssets& assets,
                                      const kilncore::WideString& path);

// Every missing font reported so far, once each. Entries are visited in the
// order of their paths' UTF-16 code units: the first entry's list comes back as
// reported (duplicates included), and each later font is appended only if no
// font with the same identityA and identityB is there yet. A font keeps the
// place and details of its first appearance.
TETHERMEDIA_API std::vector<tether::MissingFont> GetMissingFonts();

// Forgets every report, fonts and the other lists alike, so that the next
// import of any path reports again.
TETHERMEDIA_API void ResetMissingFonts();

}  // namespace TetherMedia
