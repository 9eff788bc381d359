#include <source/FormatRounding.h>

#include <cmath>

namespace TetherMedia {

namespace {

template <class Real>
int32_t Round(Real value) {
  if (value > Real(0)) return static_cast<int32_t>(std::trunc(value + Real(0.5)));
  const Real shifted = value + Real(0.5);
  if (shifted == std::floor(shifted)) return static_cast<int32_t>(std::trunc(value));
  return static_cast<int32_t>(std::trunc(value - Real(0.5)));
}

}  // namespace

int32_t RoundForFormat(double value) { return Round(value); }

int32_t RoundForFormat(float value) { return Round(value); }

}  // namespace TetherMedia
