#pragma once

#include <server/project/CompositionAudio.h>
#include <server/project/Layer.h>

#include <tether/CaptionData.h>
#include <tether/MediaTypes.h>

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tetherserver {

// A marker at a frame, counted from the composition's first frame.
struct PlacedMarker {
  int64_t frame = 0;
  std::string name;

  friend bool operator==(const PlacedMarker&, const PlacedMarker&) = default;
};

// One composition of a project, as read from its file. Immutable once the
// project is open; every time is kept as frames of the composition's rate so
// that all derived times are exact.
struct Composition {
  kilncore::utility::Guid id;
  std::string name;  // UTF-8
  uint32_t width = 0;
  uint32_t height = 0;
  // Frames per second as a fraction, e.g. 30000/1001.
  int64_t rateNumerator = 25;
  int64_t rateDenominator = 1;
  int64_t durationFrames = 0;
  // Frame number of the first frame: the start time and the burn-ins' origin.
  int64_t startFrame = 0;
  // The work area, in frames from the first frame (out exclusive).
  int64_t workAreaInFrame = 0;
  int64_t workAreaOutFrame = 0;
  bool dropFrame = false;
  tether::PixelAspectRatio pixelAspectRatio;
  tether::FieldType fieldType = 0;
  std::string colorSpace;
  // Bottom layer first.
  std::vector<Layer> layers;
  CompositionAudio audio;
  // The names of every marker, as items describe them.
  std::vector<std::string> markers;
  // The markers that have a frame, in the file's order.
  std::vector<PlacedMarker> placedMarkers;
  // The captions as the file gives them (serialised text and streams); empty
  // when the composition has none.
  tether::CaptionData captions;
  // The composition's JSON object as read, written compactly: its definition.
  // The content state is a hash of this text.
  std::string definitionText;
  // Hash of definitionText; see Project::GetContentState.
  kilncore::utility::Guid contentState;

  // One frame's length in ticks of the host's time base (rounded to a tick).
  tether::FrameRate FrameTicks() const;
  // frames / rate as exact seconds.
  tether::RatioTime FramesToTime(int64_t frames) const;
  tether::RatioTime Duration() const { return FramesToTime(durationFrames); }
  tether::RatioTime StartTime() const { return FramesToTime(startFrame); }
  // Nominal frames per second for timecode: the rate rounded (29.97 -> 30).
  int64_t TimecodeBase() const;
};

}  // namespace tetherserver
