#include <kilncore/messaging/ManagedStation.h>

#include <kilncore/messaging/StationRegistry.h>

#include <utility>

namespace kilncore::messaging {

ManagedStation::ManagedStation() : ManagedStation(UniqueStationID()) {}

ManagedStation::ManagedStation(utility::ImmutableString stationID, ObserveStation observe)
    : mStationID(std::move(stationID)), mStation(RegisterStation(mStationID, observe)) {}

ManagedStation::~ManagedStation() { DisposeStation(mStationID); }

}  // namespace kilncore::messaging
