#pragma once

#include <kilncore/string/WideString.h>

#include <cstddef>
#include <cstdint>

namespace kilncore::string {

// Flags of NumberToString.
enum NumberToStringFlags : uint32_t {
  kNumberToStringNoFlags = 0,
  // Drops zeros at the end of the fraction, and the decimal point if nothing
  // is left after it: 25.50 becomes 25.5, 25.00 becomes 25.
  kNumberToStringTrimTrailingZeros = 1u << 0,
  // Puts a plus sign before a positive number.
  kNumberToStringShowPlusSign = 1u << 1,
};

// Formats `value` in fixed notation, independent of the locale (the decimal
// point is always '.').
//
// `minIntegerDigits`: the integer part is padded with leading zeros to at least
// this many digits (values below 1 are taken as 1).
// `decimals`: digits after the point, rounded to nearest; 0 gives no point.
// Negative values are taken as 0, and more than 17 as 17.
// `flags`: a combination of NumberToStringFlags.
// `maxLength`: the longest text wanted, in UTF-16 units. A fixed text that would
// be longer is written in scientific notation instead, and cut to `maxLength`
// if even that is too long. Hosts pass 31, the size of their buffers.
//
// Not-a-number gives "nan", infinities "inf" and "-inf".
//
// Example: NumberToString(23.976023976, 1, 3, kNumberToStringNoFlags, 31)
// gives u"23.976".
WideString NumberToString(double value, int minIntegerDigits, int decimals, uint32_t flags,
                          size_t maxLength);

}  // namespace kilncore::string
