#pragma once

#include <KL/CaptionStream.h>

#include <cstdint>
#include <string>

namespace tetherhost {

// One caption stream as a WebVTT file: the "WEBVTT" header, then each cue
// with "HH:MM:SS.mmm --> HH:MM:SS.mmm" times (milliseconds rounded down from
// the host's ticks) and its text. Blank lines inside a cue's text would end
// the cue, and "-->" would read as timing, so empty lines are dropped and the
// arrow is broken with a no-break space.
class WebVttWriter {
 public:
  static std::string Write(const KL::CaptionStream& stream);
  // A time in ticks as "HH:MM:SS.mmm"; hours grow past 99 as needed.
  static std::string Time(int64_t ticks, char decimalSeparator = '.');
  // A cue's text with no empty lines and no "-->".
  static std::string SafeText(const std::string& text);
};

}  // namespace tetherhost
