#pragma once

#include <kilncore/messaging/Broadcaster.h>
#include <kilncore/utility/ImmutableString.h>

#include <atomic>
#include <cstdint>

namespace kilncore::messaging {

// How a station is observed, given at registration. 0 is the ordinary station;
// the value is kept with the station for its observers and has no effect on
// delivery.
using ObserveStation = uint32_t;
inline constexpr ObserveStation kObserveStation_Default = 0;

// A registered messaging station: a Broadcaster known to the process by its
// identifier. Stations are made by RegisterStation and found by FindStation.
// Once disposed of, a station takes no more queued messages, though holders of
// the object may still broadcast on it directly.
class Station : public Broadcaster {
 public:
  Station(utility::ImmutableString stationID, ObserveStation observe);
  ~Station() override;

  const utility::ImmutableString& GetStationID() const noexcept { return mStationID; }
  ObserveStation GetObserveStation() const noexcept { return mObserve; }

  // True once DisposeStation has removed the station from the registry.
  bool IsDisposed() const noexcept { return mDisposed.load(std::memory_order_acquire); }

  // Marks the station disposed of; called by DisposeStation.
  void MarkDisposed() noexcept { mDisposed.store(true, std::memory_order_release); }

 private:
  const utility::ImmutableString mStationID;
  const ObserveStation mObserve;
  std::atomic<bool> mDisposed{false};
};

}  // namespace kilncore::messaging
