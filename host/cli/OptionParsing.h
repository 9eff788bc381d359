#pragma once

#include <kilnmediatypes/PixelFormat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tetherhost {

// The values of the command line that aren't plain numbers or paths. Each
// throws std::invalid_argument with a readable message for text it doesn't
// take.

// "1920x1080" as (1920, 1080); each from 1 to 16384.
std::pair<int32_t, int32_t> ParseFrameSize(const std::string& text);

// "bgra8" or "rgba32f": the pixel format the host asks the module for.
kilnmediatypes::PixelFormat ParsePixelFormat(const std::string& text);

// "on" or "off"; empty text means "leave it as the item has it".
std::optional<bool> ParseOnOff(const std::string& text);

// A finite decimal number from `low` to `high` inclusive ("2.5", "1e3"). Text
// that isn't one, and "nan", "inf" or a value out of range, throw with the
// range in the message, so the user learns what would have been taken.
double ParseRealInRange(const std::string& text, double low, double high);

// A whole number from `low` to `high` inclusive, in decimal digits only.
int64_t ParseIntegerInRange(const std::string& text, int64_t low, int64_t high);

}  // namespace tetherhost
