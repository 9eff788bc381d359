#include <host/cli/FrameRange.h>

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace tetherhost {
namespace {

int64_t ParseNumber(std::string_view text, const std::string& whole) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < 0) {
    throw std::invalid_argument("bad frame list '" + whole + "': '" + std::string(text) +
                                "' is not a frame number");
  }
  return value;
}

}  // namespace

FrameRange FrameRange::Parse(const std::string& text, size_t limit) {
  FrameRange range;
  std::string_view rest(text);
  while (true) {
    const size_t comma = rest.find(',');
    std::string_view part = rest.substr(0, comma);
    int64_t step = 1;
    if (const size_t slash = part.find('/'); slash != std::string_view::npos) {
      step = ParseNumber(part.substr(slash + 1), text);
      part = part.substr(0, slash);
    }
    if (step < 1) throw std::invalid_argument("bad frame list '" + text + "': a step must be 1 or more");
    int64_t first = 0;
    int64_t last = 0;
    if (const size_t dash = part.find('-'); dash != std::string_view::npos) {
      first = ParseNumber(part.substr(0, dash), text);
      last = ParseNumber(part.substr(dash + 1), text);
    } else {
      first = last = ParseNumber(part, text);
    }
    if (last < first) throw std::invalid_argument("bad frame list '" + text + "': a range runs backwards");
    for (int64_t frame = first; frame <= last; frame += step) {
      if (range.mFrames.size() == limit) {
        throw std::invalid_argument("bad frame list '" + text + "': more than " + std::to_string(limit) +
                                    " frames");
      }
      range.mFrames.push_back(frame);
    }
    if (comma == std::string_view::npos) break;
    rest = rest.substr(comma + 1);
  }
  return range;
}

FrameRange FrameRange::ClippedTo(int64_t frameCount) const {
  FrameRange clipped;
  for (const int64_t frame : mFrames) {
    if (frame < frameCount) clipped.mFrames.push_back(frame);
  }
  return clipped;
}

}  // namespace tetherhost
