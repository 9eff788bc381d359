#pragma once

#include <kilncore/string/WideString.h>

#include <array>
#include <cstdint>

namespace KL {

// A video source's description of its format for the host's format displays:
// a row of 32-bit values whose meaning is the host's, then a text.
struct VideoFormatRecord {
  std::array<int32_t, 7> values{};
  kilncore::WideString text;

  friend bool operator==(const VideoFormatRecord&, const VideoFormatRecord&) = default;
};

}  // namespace KL
