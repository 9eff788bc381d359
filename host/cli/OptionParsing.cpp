#include <host/cli/OptionParsing.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace tetherhost {
namespace {

// The widest or tallest frame a host asks for: 16K.
constexpr int32_t kLargestFrameSide = 16384;

int32_t ParseDimension(std::string_view text, const std::string& whole) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value <= 0 ||
      value > kLargestFrameSide) {
    throw std::invalid_argument("bad frame size '" + whole + "': expected WIDTHxHEIGHT, each from 1 to " +
                                std::to_string(kLargestFrameSide) + ", such as 1920x1080");
  }
  return value;
}

std::string Shortest(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g", value);
  return text;
}

}  // namespace

std::pair<int32_t, int32_t> ParseFrameSize(const std::string& text) {
  const size_t x = text.find('x');
  if (x == std::string::npos) {
    throw std::invalid_argument("bad frame size '" + text + "': expected WIDTHxHEIGHT, such as 1920x1080");
  }
  const std::string_view view(text);
  return {ParseDimension(view.substr(0, x), text), ParseDimension(view.substr(x + 1), text)};
}

kilnmediatypes::PixelFormat ParsePixelFormat(const std::string& text) {
  if (text == "bgra8") return kilnmediatypes::kPixelFormat_BGRA_4444_8u;
  if (text == "rgba32f") return kilnmediatypes::kPixelFormat_RGBA_4444_32f;
  throw std::invalid_argument("bad pixel format '" + text + "': expected bgra8 or rgba32f");
}

std::optional<bool> ParseOnOff(const std::string& text) {
  if (text.empty()) return std::nullopt;
  if (text == "on") return true;
  if (text == "off") return false;
  throw std::invalid_argument("bad switch '" + text + "': expected on or off");
}

double ParseRealInRange(const std::string& text, double low, double high) {
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  // from_chars takes "nan" and "inf" as numbers; a duration or a count can't be either.
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value) ||
      value < low || value > high) {
    throw std::invalid_argument("'" + text + "' is not a number from " + Shortest(low) + " to " + Shortest(high));
  }
  return value;
}

int64_t ParseIntegerInRange(const std::string& text, int64_t low, int64_t high) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < low || value > high) {
    throw std::invalid_argument("'" + text + "' is not a whole number from " + std::to_string(low) + " to " +
                                std::to_string(high));
  }
  return value;
}

}  // namespace tetherhost
