#pragma once

#include <tether/MediaTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tetherserver {

// A named point of an item, in whole frames from its first frame.
struct ItemMarker {
  int64_t frame = 0;
  std::string name;  // UTF-8

  friend bool operator==(const ItemMarker&, const ItemMarker&) = default;
};

// What an item's XMP packet says about it.
struct XmpDescription {
  std::string title;        // UTF-8
  std::string creatorTool;  // UTF-8
  tether::FrameRate frameRate = tether::kNoFrameRate;  // frame length in ticks
  bool dropFrame = false;
  uint32_t width = 0;
  uint32_t height = 0;
  tether::RatioTime startTime{0, 1};  // of the item's first frame, in seconds
  std::vector<ItemMarker> markers;
};

// Builds XMP packets with Exempi. Thread-safe.
class XmpPacket {
 public:
  // The packet (with its xpacket wrapper) of the span [start, start + duration)
  // of the item, times in seconds from the item's first frame:
  // - dc:title, xmp:CreatorTool;
  // - xmpDM:duration (frames of the span, scale one frame), xmpDM:videoFrameRate,
  //   xmpDM:videoFrameSize (pixels);
  // - xmpDM:startTimecode: the timecode of the span's first frame, counted
  //   from the item's start time, in the timecode format of the rate;
  // - the markers whose frame falls in the span, as xmpDM:markers of one
  //   xmpDM:Tracks entry named "Markers", their xmpDM:startTime in frames from
  //   the span's start.
  // An item without a rate has no timecode, rate or markers in its packet.
  // Empty if Exempi fails.
  static std::string Build(const XmpDescription& description, const tether::RatioTime& start,
                           const tether::RatioTime& duration);

  // The rate as xmpDM writes it: "f25", "f30000s1001".
  static std::string FrameRateText(tether::FrameRate frameRate);
};

}  // namespace tetherserver
