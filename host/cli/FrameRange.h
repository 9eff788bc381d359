#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tetherhost {

// The frames a command pulls, as the user writes them: "12" for one frame,
// "0-9" for an inclusive range, "0-100/10" for every tenth frame of a range,
// and several of these separated by commas ("0,5,10-12"). Frame numbers count
// from the item's first frame.
class FrameRange {
 public:
  // Throws std::invalid_argument with a readable message for text that isn't
  // such a list, for a range that runs backwards, for a step below 1, or for a
  // list of more than `limit` frames.
  static FrameRange Parse(const std::string& text, size_t limit = 100000);

  // Frames at or beyond `frameCount` are dropped, keeping the order.
  FrameRange ClippedTo(int64_t frameCount) const;

  const std::vector<int64_t>& frames() const { return mFrames; }
  bool empty() const { return mFrames.empty(); }

 private:
  std::vector<int64_t> mFrames;
};

}  // namespace tetherhost
