#pragma once

#include <host/session/LinkedClip.h>

#include <tether/MissingFont.h>

#include <string>
#include <vector>

namespace tetherhost {

// What `import` and `info` print of a clip: for people, aligned lines with
// names for the host's numbers; for programs (--json), one JSON object in the
// spirit of `ffprobe -of json`: the item, its video and audio streams, the
// rate as a fraction, the duration, the fonts the owner lacks.
std::string DescriptionText(const ClipDescription& clip);
std::string MissingFontsText(const std::vector<tether::MissingFont>& fonts);
std::string DescriptionJson(const ClipDescription& clip, const std::vector<tether::MissingFont>& fonts);

// The rate as a reduced fraction of frames per second (30000/1001).
std::pair<int64_t, int64_t> RateFraction(kilnmediatypes::FrameRate rate);

}  // namespace tetherhost
