#pragma once

#include <KL/CaptionStream.h>

#include <string>

namespace tetherhost {

// One caption stream as a SubRip file: numbered cues from 1, each with
// "HH:MM:SS,mmm --> HH:MM:SS,mmm" times and its text, a blank line after each.
// Cues with no text left are skipped, as in WebVttWriter.
class SrtWriter {
 public:
  static std::string Write(const KL::CaptionStream& stream);
};

}  // namespace tetherhost
