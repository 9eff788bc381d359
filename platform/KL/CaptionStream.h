#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KL {

// One caption: shown from `start` up to, not including, `end` (ticks of the
// host's time base, from the item's start). `text` is UTF-8 and may hold line
// breaks.
struct CaptionCue {
  int64_t start = 0;
  int64_t end = 0;
  std::string text;

  friend bool operator==(const CaptionCue&, const CaptionCue&) = default;
};

// One caption stream of an item (a language, a track): its identifier, a label
// for the user (UTF-8, possibly empty) and its cues, in order of their start.
struct CaptionStream {
  uint64_t id = 0;
  std::string label;
  std::vector<CaptionCue> cues;

  friend bool operator==(const CaptionStream&, const CaptionStream&) = default;
};

// The whole of an item's captions: the format of its caption streams and the
// streams themselves.
struct CaptionDocument {
  uint32_t streamFormat = 0;
  std::vector<CaptionStream> streams;

  friend bool operator==(const CaptionDocument&, const CaptionDocument&) = default;
};

}  // namespace KL
