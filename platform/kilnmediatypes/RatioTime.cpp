#include <kilnmediatypes/RatioTime.h>

#include <limits>
#include <numeric>

namespace kilnmediatypes {

TickTime RatioTimeToTime(const boost::rational<int64_t>& seconds) noexcept {
  // |numerator| * kTicksPerSecond < 2^63 * 2^38, well inside 128 bits.
  const __int128 scaled = static_cast<__int128>(seconds.numerator()) * kTicksPerSecond;
  const __int128 denominator = seconds.denominator();  // positive in a boost::rational
  __int128 quotient = scaled / denominator;
  const __int128 remainder = scaled % denominator;
  // Round half away from zero; the remainder has the sign of `scaled`.
  if (remainder * 2 >= denominator) ++quotient;
  if (remainder * 2 <= -denominator) --quotient;
  if (quotient > std::numeric_limits<int64_t>::max()) {
    return TickTime(std::numeric_limits<int64_t>::max());
  }
  if (quotient < std::numeric_limits<int64_t>::min()) {
    return TickTime(std::numeric_limits<int64_t>::min());
  }
  return TickTime(static_cast<int64_t>(quotient));
}

boost::rational<int64_t> TimeToRatioTime(const TickTime& time) {
  const int64_t ticks = time.GetTicks();
  // Reduce by hand with an unsigned magnitude: the gcd of INT64_MIN is not
  // representable as a signed value.
  const uint64_t magnitude = ticks < 0 ? 0 - static_cast<uint64_t>(ticks) : static_cast<uint64_t>(ticks);
  const uint64_t divisor = std::gcd(magnitude, static_cast<uint64_t>(kTicksPerSecond));
  // kTicksPerSecond is a multiple of 4096, so `divisor` >= 1 and for INT64_MIN it
  // is 4096: every quotient below fits.
  const int64_t numerator = ticks / static_cast<int64_t>(divisor);
  const int64_t denominator = kTicksPerSecond / static_cast<int64_t>(divisor);
  return boost::rational<int64_t>(numerator, denominator);
}

}  // namespace kilnmediatypes
