#pragma once

#include <metadata/XmpPacket.h>

#include <ProjectXML/ProjectDocument.h>
#include <tether/CaptionData.h>
#include <tether/SourceInfo.h>

#include <string>
#include <vector>

namespace tetherserver::ItemMetadata {

// What an item's packet says, from the description that clients get and the
// item's placed markers.
XmpDescription DescribeForXmp(const tether::SourceInfo& info, std::vector<ItemMarker> markers);

// The XMP packet of an item's span (seconds from its first frame).
std::string RenderXMP(const tether::SourceInfo& info, std::vector<ItemMarker> markers,
                      const tether::RatioTime& start, const tether::RatioTime& duration);

// A host project sequence's caption tracks as clients get them: one stream
// per track (identifier its position from 1, label its name), the first
// selected, and the caption text (docs/captions.md) with frames turned into
// ticks at `frameTicks` a frame. Cues are ordered by their start; a caption
// that doesn't end after it starts is left out. No tracks, no captions.
tether::CaptionData CaptionsOfTracks(const std::vector<ProjectXML::CaptionTrack>& tracks, int64_t frameTicks);

// The stream format that the reference server states: plain subtitles.
inline constexpr uint32_t kSubtitleStreamFormat = 1;

}  // namespace tetherserver::ItemMetadata
