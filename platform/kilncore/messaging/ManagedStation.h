#pragma once

#include <kilncore/messaging/Station.h>
#include <kilncore/utility/ImmutableString.h>

#include <memory>

namespace kilncore::messaging {

// Owns the registration of one station: registers it when made, disposes of it
// when destroyed. An object that has its own station holds one of these.
class ManagedStation {
 public:
  // Registers a station under a new UniqueStationID(), observed as 0.
  ManagedStation();
  // Registers a station under `stationID`. Throws as RegisterStation does.
  explicit ManagedStation(utility::ImmutableString stationID,
                          ObserveStation observe = kObserveStation_Default);

  // Disposes of the station; messages still queued for it are dropped.
  virtual ~ManagedStation();

  ManagedStation(const ManagedStation&) = delete;
  ManagedStation& operator=(const ManagedStation&) = delete;

  const utility::ImmutableString& GetStationID() const noexcept { return mStationID; }

  // The station itself, for adding listeners or broadcasting directly.
  const std::shared_ptr<Station>& GetStation() const noexcept { return mStation; }

 private:
  utility::ImmutableString mStationID;
  std::shared_ptr<Station> mStation;
};

}  // namespace kilncore::messaging
