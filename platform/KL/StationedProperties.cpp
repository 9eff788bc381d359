#include <KL/StationedProperties.h>

#include <utility>

namespace KL {

using kilncore::utility::ImmutableString;

StationedProperties::StationedProperties(const std::vector<ProjectXML::Property>& properties,
                                         std::shared_ptr<kilncore::messaging::ManagedStation> station)
    : mStation(std::move(station)), mProperties(properties) {}

StationedProperties::~StationedProperties() = default;

bool StationedProperties::ReadProperty(const ImmutableString& key, SerializeableValueBase& out) {
  return mProperties.Read(key, out);
}

// Writes land at once; there is nothing to flush.
int32_t StationedProperties::FlushProperties() { return 0; }

void StationedProperties::WriteProperty(const ImmutableString& key, const SerializeableValueBase& value,
                                        bool /*notify*/) {
  mProperties.Write(key, value);
}

bool StationedProperties::IsPropertyReadOnly(const ImmutableString& key) { return mProperties.IsReadOnly(key); }

ImmutableString StationedProperties::GetPropertyStationID() { return mStation->GetStationID(); }

}  // namespace KL
