#pragma once

#include <TetherMedia/Export.h>

#include <kilncore/string/WideString.h>
#include <tether/ItemInfo.h>

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

}  // namespace TetherMedia
