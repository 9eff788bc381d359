#pragma once

#include <RL/BinaryData.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>
#include <kilnmediatypes/FrameRate.h>

#include <cstddef>

namespace WF {

// What the importer layer is told about the audio of a media item when it
// wraps the item's audio source: the item's media opaque data, the frame rate
// of the clip, a display name, the item's content state and document, its
// path and stream, two paths that a conforming host may write to, and the
// station to which progress of the audio would be posted.
struct AudioSourceDescription {
  RL::BinaryData prefs;
  kilnmediatypes::FrameRate frameRate;
  kilncore::WideString name;
  kilncore::utility::Guid contentState;
  kilncore::utility::Guid documentID;
  kilncore::WideString path;
  size_t streamIndex = 0;
  kilncore::WideString conformPathA;
  kilncore::WideString conformPathB;
  kilncore::utility::ImmutableString stationID;
};

}  // namespace WF
