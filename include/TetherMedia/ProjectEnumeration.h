#pragma once

#include <TetherMedia/Export.h>

#include <KL/IProjectItem.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <tether/ItemInfo.h>

#include <cstdint>
#include <vector>

namespace TetherMedia {

// The compositions of the Marl project at `path`, for a host that lets the
// user pick one before importing. Connects to a Marl server of its own (no
// linked item is made), opens the project and walks its folders depth first:
// the result is a flat list of the leaf items in the project's order, without
// the folders themselves. Blocks the calling thread for the whole exchange.
//
// Every failure gives a shorter list rather than an error: a server that
// refuses or a project that won't open gives an empty list, and a folder that
// can't be read is left out with everything below it.
TETHERMEDIA_API std::vector<tether::ItemInfo> GetCompsInfoForMarlp(const kilncore::WideString& path);

// Loads the items `ids` of the host project at `path` as a project of their
// own, in memory, and hands its top-level items back in `items`, marked for
// the host's import: the project's property KL::kProjectItemMarkedForImport-
// PropertyKey names the node identifiers to import. An item to import gets a
// new identifier and keeps its old one and `path` in KL::kOriginalProjectItem-
// Guid and KL::kOriginalProjectItemProjectPath; every other item gets
// KL::kProjectItemMarkedForNotImportPropertyKey true. A read-only key is left
// as it was, and KL::OverrideReadOnlyPropertyWarningMessage goes to the item's
// property station instead. Connects to the host project server of its own
// and blocks for the whole exchange.
//
// Returns 0 (also when the server's text doesn't parse: `items` is then left
// as it was); the failure's code when the server refuses, the project won't
// open or the items can't be had; 0xA00F0001 for an empty text.
TETHERMEDIA_API int32_t GetProjectItemsFromProject(
    const kilncore::WideString& path, const std::vector<kilncore::utility::Guid>& ids,
    std::vector<kilncore::classref::InterfaceRef<KL::IProjectItem>>& items);

}  // namespace TetherMedia
