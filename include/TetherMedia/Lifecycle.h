#pragma once

#include <TetherMedia/Export.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>

#include <boost/function.hpp>

namespace TetherMedia {

// Lets the user pick an item to link: fills `path` and `sourceID` and returns a
// result code (negative for failure or cancellation).
using SelectSourceCallback = boost::function<int(kilncore::WideString& path,
                                                 kilncore::utility::Guid& sourceID)>;

// Starts the module. Calls nest: only the first call registers the module's
// class, adds the module to the host's importer factory and registers the
// progress station. Always returns 0.
//
// Throws kilncore::config::NullPtrException if the host has no importer
// factory; the call still counts, so a later Initialize doesn't retry.
//
// Initialize, Shutdown and SetSelectSource must not be called concurrently.
TETHERMEDIA_API int Initialize();

// Ends one Initialize. The call that matches the first Initialize disposes of
// the progress station and drops the select-source callback. The class stays
// registered and the module stays with the importer factory.
TETHERMEDIA_API void Shutdown();

// The identifier by which linked media of this module are recognised.
TETHERMEDIA_API kilncore::utility::Guid GetTetherImplementationID();

// The identifier of the station on which import progress is broadcast. Made
// when the module is loaded, so it is valid before Initialize.
TETHERMEDIA_API kilncore::utility::ImmutableString GetProgressStation();

// Replaces the select-source callback. The previous callback is destroyed after
// the new one is in place.
TETHERMEDIA_API void SetSelectSource(const SelectSourceCallback& callback);

// Runs the select-source callback with the arguments and returns its result.
// With no callback set, returns 0xA00F0001 and leaves both arguments alone.
TETHERMEDIA_API int SelectSource(kilncore::WideString& path, kilncore::utility::Guid& sourceID);

// Whether the application may link projects of its own type. True only if the
// debug setting "AllowTetherToOwnProjectType" is exactly "true"; read anew on
// every call.
TETHERMEDIA_API bool AllowTetherToOwnProjectType();

}  // namespace TetherMedia
