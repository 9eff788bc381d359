#pragma once

#include <kilncore/utility/Guid.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace ProjectXML {

// The host project as it stands in a project file, in plain records. All texts
// are UTF-8. Times of a sequence are counted in frames of the sequence's rate.
// The XML form of these records is described in docs/project-format.md.

// A ratio such as a frame rate (30000/1001) or a pixel aspect (1/1).
struct Ratio {
  int64_t numerator = 1;
  int64_t denominator = 1;
  friend bool operator==(const Ratio&, const Ratio&) = default;
};

// One typed property of a project or an item.
struct Property {
  enum class Type { kText, kBool };
  std::string key;
  Type type = Type::kText;
  // The text, or "true" / "false".
  std::string value;
  // The host refuses writes to a read-only property.
  bool readOnly = false;
  friend bool operator==(const Property&, const Property&) = default;
};

// One clip on a track of a sequence.
struct Clip {
  // Unique within its sequence; the number by which the server names the clip.
  uint32_t id = 0;
  std::string name;
  // The media file, an absolute path; empty for a clip without media.
  std::string media;
  // Where the clip starts in the sequence, and the span [in, out) of its media.
  int64_t start = 0;
  int64_t in = 0;
  int64_t out = 0;
  bool enabled = true;
  // A still image held for the clip's length.
  bool still = false;
  // A clip that links an item of another application's project (a Marl
  // composition): the project file as written (a relative path is relative to
  // this project's folder) and the item. Empty and nil for a plain clip.
  std::string linkProject;
  kilncore::utility::Guid linkItem;
  friend bool operator==(const Clip&, const Clip&) = default;
};

struct Track {
  std::vector<Clip> clips;
  friend bool operator==(const Track&, const Track&) = default;
};

struct Caption {
  int64_t start = 0;
  int64_t end = 0;
  std::string text;
  friend bool operator==(const Caption&, const Caption&) = default;
};

struct CaptionTrack {
  std::string name;
  std::vector<Caption> captions;
  friend bool operator==(const CaptionTrack&, const CaptionTrack&) = default;
};

struct Marker {
  int64_t frame = 0;
  std::string name;
  friend bool operator==(const Marker&, const Marker&) = default;
};

enum class FieldOrder { kProgressive, kUpperFirst, kLowerFirst };

struct Sequence {
  int32_t width = 1920;
  int32_t height = 1080;
  Ratio frameRate{25, 1};
  FieldOrder fieldOrder = FieldOrder::kProgressive;
  Ratio pixelAspect{1, 1};
  uint32_t audioRate = 48000;
  uint32_t audioChannels = 2;
  // Whether the sequence may be rendered at the highest quality.
  bool maximumRenderQuality = true;
  // Video tracks from the bottom up: the last track is the topmost.
  std::vector<Track> videoTracks;
  std::vector<Track> audioTracks;
  std::vector<CaptionTrack> captionTracks;
  std::vector<Marker> markers;

  // The end of the last clip of any video or audio track, in frames: what a
  // server serves as the sequence's length and a host lists.
  int64_t DurationFrames() const {
    int64_t frames = 0;
    for (const auto* tracks : {&videoTracks, &audioTracks}) {
      for (const Track& track : *tracks) {
        for (const Clip& clip : track.clips) frames = std::max(frames, clip.start + (clip.out - clip.in));
      }
    }
    return frames;
  }
  friend bool operator==(const Sequence&, const Sequence&) = default;
};

// An item of the bin tree.
struct Item {
  enum class Kind { kBin, kSequence, kMasterClip };
  Kind kind = Kind::kBin;
  std::string name;
  kilncore::utility::Guid id;
  // The host's node identifier, 64-bit.
  uint64_t nodeID = 0;
  std::vector<Property> properties;
  // A bin's items.
  std::vector<Item> children;
  // A sequence's timeline.
  std::optional<Sequence> sequence;
  // A master clip's media file.
  std::string media;
  friend bool operator==(const Item&, const Item&) = default;
};

// The file's flavour, which its extension names; both hold the same records.
enum class Flavour { kLegacy, kUnified };

struct ProjectDocument {
  Flavour flavour = Flavour::kLegacy;
  std::vector<Property> properties;
  // The items at the top of the bin tree.
  std::vector<Item> items;
  friend bool operator==(const ProjectDocument&, const ProjectDocument&) = default;
};

}  // namespace ProjectXML
