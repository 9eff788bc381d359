#pragma once

#include <FarsideCL/FarsideLinkedAssetProperties.h>

#include <kilncore/classref/Unknown.h>

#include <optional>

namespace FarsideCL {

// The answer of the data server to "where is this media now?", made by
// IFarsideCDataServer::GetMediaLocator for one media path and production
// path.
class IFarsideCMediaLocator : public kilncore::classref::Unknown {
 public:
  ~IFarsideCMediaLocator() override;

  // Where the media is, or nothing if the service doesn't know it.
  virtual std::optional<FarsideLinkedAssetProperties> GetLinkedAssetProperties() const = 0;

 protected:
  IFarsideCMediaLocator() = default;
};

}  // namespace FarsideCL
