#pragma once

#include <kilncore/utility/ImmutableString.h>

namespace FarsideCL {

// Where the media locator found a linked asset: the production that holds it
// now, and the media path within that production.
struct FarsideLinkedAssetProperties {
  kilncore::utility::ImmutableString production;
  kilncore::utility::ImmutableString mediaPath;

  friend bool operator==(const FarsideLinkedAssetProperties&, const FarsideLinkedAssetProperties&) = default;
};

}  // namespace FarsideCL
