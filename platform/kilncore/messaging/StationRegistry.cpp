#include <kilncore/messaging/StationRegistry.h>

#include <kilncore/config/KilnException.h>

#include <atomic>
#include <mutex>
#include <string>
#include <unordered_map>

namespace kilncore::messaging {
namespace {

class Registry {
 public:
  static Registry& Instance() {
    // Never destroyed: stations owned by static objects are disposed of during
    // static destruction, possibly after this file's statics would have gone.
    static Registry* registry = new Registry();
    return *registry;
  }

  std::shared_ptr<Station> Register(const utility::ImmutableString& id, ObserveStation observe) {
    if (id.empty()) {
      throw config::kiln_exception("RegisterStation: empty station identifier",
                                   config::kGeneralFailure);
    }
    auto station = std::make_shared<Station>(id, observe);
    std::lock_guard lock(mMutex);
    auto [it, inserted] = mStations.try_emplace(id, station);
    if (!inserted) {
      throw config::kiln_exception("RegisterStation: station already registered: " + id.AsUTF8(),
                                   config::kGeneralFailure);
    }
    return station;
  }

  std::shared_ptr<Station> Remove(const utility::ImmutableString& id) {
    std::lock_guard lock(mMutex);
    auto it = mStations.find(id);
    if (it == mStations.end()) return nullptr;
    std::shared_ptr<Station> station = std::move(it->second);
    mStations.erase(it);
    return station;
  }

  std::shared_ptr<Station> Find(const utility::ImmutableString& id) const {
    std::lock_guard lock(mMutex);
    auto it = mStations.find(id);
    return it == mStations.end() ? nullptr : it->second;
  }

 private:
  mutable std::mutex mMutex;
  std::unordered_map<utility::ImmutableString, std::shared_ptr<Station>> mStations;
};

// Constant-initialised, so usable by static initialisers of other libraries.
constinit std::atomic<uint64_t> gNextStationNumber{1};

}  // namespace

utility::ImmutableString UniqueStationID() {
  const uint64_t number = gNextStationNumber.fetch_add(1, std::memory_order_relaxed);
  return utility::ImmutableString("kilncore.station." + std::to_string(number));
}

// Never destroyed, like the registry: stations come and go during static
// initialisation and destruction.
utility::Seam<std::shared_ptr<Station>(const utility::ImmutableString&, ObserveStation)>& RegisterStationSeam() {
  static auto* const seam =
      new utility::Seam<std::shared_ptr<Station>(const utility::ImmutableString&, ObserveStation)>(
          [](const utility::ImmutableString& stationID, ObserveStation observe) {
            return Registry::Instance().Register(stationID, observe);
          });
  return *seam;
}

utility::Seam<bool(const utility::ImmutableString&)>& DisposeStationSeam() {
  static auto* const seam =
      new utility::Seam<bool(const utility::ImmutableString&)>([](const utility::ImmutableString& stationID) {
        std::shared_ptr<Station> station = Registry::Instance().Remove(stationID);
        if (!station) return false;
        station->MarkDisposed();
        // The registry's reference is released here, outside its lock: the
        // station's listeners may hold objects whose destruction does anything.
        return true;
      });
  return *seam;
}

std::shared_ptr<Station> RegisterStation(const utility::ImmutableString& stationID,
                                         ObserveStation observe) {
  return RegisterStationSeam()(stationID, observe);
}

bool DisposeStation(const utility::ImmutableString& stationID) { return DisposeStationSeam()(stationID); }

std::shared_ptr<Station> FindStation(const utility::ImmutableString& stationID) {
  return Registry::Instance().Find(stationID);
}

}  // namespace kilncore::messaging
