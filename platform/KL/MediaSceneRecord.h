#pragma once

#include <kilncore/string/WideString.h>
#include <kilnmediatypes/TickTime.h>

namespace KL {

// A scene that a media file marks within itself.
struct MediaSceneRecord {
  kilnmediatypes::TickTime start;
  kilnmediatypes::TickTime duration;
  kilncore::WideString name;

  friend bool operator==(const MediaSceneRecord&, const MediaSceneRecord&) = default;
};

}  // namespace KL
