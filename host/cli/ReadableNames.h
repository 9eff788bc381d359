#pragma once

#include <cstdint>
#include <string>

namespace tetherhost {

// The words a person reads in place of the host's numbers.

// "progressive", "interlaced, upper field first", ...; "field type N" for a
// value the host doesn't know.
std::string FieldTypeName(int32_t fieldType);

// "25 fps timecode", "29.97 fps drop-frame timecode", "frames", "none"; with
// the number beside for a value the host doesn't know.
std::string TimeDisplayName(int32_t timeDisplay);

// A size in bytes with a binary unit: "512 bytes", "1.5 KiB", "4.0 GiB", "2.3 TiB".
std::string ByteSizeText(uint64_t bytes);

}  // namespace tetherhost
