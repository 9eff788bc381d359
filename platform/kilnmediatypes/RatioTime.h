#pragma once

#include <kilnmediatypes/TickTime.h>

#include <boost/rational.hpp>

#include <cstdint>

namespace kilnmediatypes {

// Conversions between the host's TickTime and the rational seconds of the
// client library.

// The TickTime of `seconds`. Exact whenever the denominator divides
// kTicksPerSecond, which holds for every common frame and sample rate;
// otherwise rounded to the nearest tick, halves away from zero. A time beyond
// the 64-bit tick range saturates to its ends.
TickTime RatioTimeToTime(const boost::rational<int64_t>& seconds) noexcept;

// The exact rational seconds of `time`, in lowest terms. Never overflows:
// RatioTimeToTime(TimeToRatioTime(t)) == t for every t, the invalid time
// included (it is -400000/1).
boost::rational<int64_t> TimeToRatioTime(const TickTime& time);

}  // namespace kilnmediatypes
