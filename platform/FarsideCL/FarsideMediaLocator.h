#pragma once

#include <FarsideCL/IFarsideCMediaLocator.h>

#include <optional>

namespace FarsideCL {

// A media locator that holds its answer.
class FarsideMediaLocator : public IFarsideCMediaLocator {
 public:
  explicit FarsideMediaLocator(std::optional<FarsideLinkedAssetProperties> properties)
      : mProperties(std::move(properties)) {}

  std::optional<FarsideLinkedAssetProperties> GetLinkedAssetProperties() const override { return mProperties; }

 private:
  const std::optional<FarsideLinkedAssetProperties> mProperties;
};

}  // namespace FarsideCL
