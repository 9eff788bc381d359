#include <kilncore/messaging/Station.h>

#include <utility>

namespace kilncore::messaging {

Station::Station(utility::ImmutableString stationID, ObserveStation observe)
    : mStationID(std::move(stationID)), mObserve(observe) {}

Station::~Station() = default;

}  // namespace kilncore::messaging
