#pragma once

#include <KL/IProperties.h>
#include <KL/PropertySet.h>

#include <ProjectXML/ProjectDocument.h>

#include <kilncore/messaging/ManagedStation.h>

#include <memory>
#include <vector>

namespace KL {

// KL::IProperties over a PropertySet, reporting to a station that several
// owners may share (a project and its items), kept alive by each of them.
class StationedProperties : public IProperties {
 public:
  ~StationedProperties() override;

  bool ReadProperty(const kilncore::utility::ImmutableString& key, SerializeableValueBase& out) override;
  int32_t FlushProperties() override;
  void WriteProperty(const kilncore::utility::ImmutableString& key, const SerializeableValueBase& value,
                     bool notify) override;
  bool IsPropertyReadOnly(const kilncore::utility::ImmutableString& key) override;
  kilncore::utility::ImmutableString GetPropertyStationID() override;

 protected:
  StationedProperties(const std::vector<ProjectXML::Property>& properties,
                      std::shared_ptr<kilncore::messaging::ManagedStation> station);

  const std::shared_ptr<kilncore::messaging::ManagedStation>& GetStation() const { return mStation; }

 private:
  const std::shared_ptr<kilncore::messaging::ManagedStation> mStation;
  PropertySet mProperties;
};

}  // namespace KL
