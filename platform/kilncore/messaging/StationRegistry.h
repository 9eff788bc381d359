#pragma once

#include <kilncore/messaging/Station.h>
#include <kilncore/utility/ImmutableString.h>
#include <kilncore/utility/Seam.h>

#include <memory>

namespace kilncore::messaging {

// The process-wide registry of messaging stations, by identifier. All of these
// are thread-safe and may be called during static initialisation and
// destruction.

// A station identifier that no other call in this process has returned.
utility::ImmutableString UniqueStationID();

// Registers a new station under `stationID` and returns it. Throws
// kilncore::config::kiln_exception (general failure) if the identifier is empty
// or already registered.
std::shared_ptr<Station> RegisterStation(const utility::ImmutableString& stationID,
                                         ObserveStation observe);

// Removes the station from the registry and marks it disposed of, so that
// messages still queued for it are dropped. False if no such station exists.
bool DisposeStation(const utility::ImmutableString& stationID);

// Seams of RegisterStation and DisposeStation (see kilncore/utility/Seam.h),
// for tests that count what a module registers and disposes of.
utility::Seam<std::shared_ptr<Station>(const utility::ImmutableString&, ObserveStation)>& RegisterStationSeam();
utility::Seam<bool(const utility::ImmutableString&)>& DisposeStationSeam();

// The registered station with this identifier, or null.
std::shared_ptr<Station> FindStation(const utility::ImmutableString& stationID);

}  // namespace kilncore::messaging
