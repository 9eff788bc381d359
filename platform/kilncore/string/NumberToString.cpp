#include <kilncore/string/NumberToString.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace kilncore::string {
namespace {

constexpr int kMaxDecimals = 17;

std::string FormatFixed(double magnitude, int decimals) {
  // 309 integer digits, the point and the decimals always fit.
  char buffer[400];
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof(buffer), magnitude, std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(buffer, end) : std::string();
}

std::string FormatScientific(double magnitude, int decimals) {
  char buffer[64];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof(buffer), magnitude,
                                          std::chars_format::scientific, decimals);
  return error == std::errc() ? std::string(buffer, end) : std::string();
}

void PadIntegerPart(std::string& text, int minIntegerDigits) {
  const size_t point = std::min(text.find('.'), text.size());
  const size_t wanted = static_cast<size_t>(std::max(minIntegerDigits, 1));
  if (point < wanted) text.insert(0, wanted - point, '0');
}

void TrimTrailingZeros(std::string& text) {
  if (text.find('.') == std::string::npos) return;
  while (!text.empty() && text.back() == '0') text.pop_back();
  if (!text.empty() && text.back() == '.') text.pop_back();
}

}  // namespace

WideString NumberToString(double value, int minIntegerDigits, int decimals, uint32_t flags,
                          size_t maxLength) {
  decimals = std::clamp(decimals, 0, kMaxDecimals);
  std::string text;
  if (std::isnan(value)) {
    text = "nan";
  } else {
    bool negative = std::signbit(value);
    const double magnitude = std::fabs(value);
    if (std::isinf(value)) {
      text = "inf";
    } else {
      text = FormatFixed(magnitude, decimals);
      // A value that rounds to zero is written without a sign: "-0.00" would
      // only confuse a reader.
      if (text.find_first_of("123456789") == std::string::npos) negative = false;
      PadIntegerPart(text, minIntegerDigits);
      if (flags & kNumberToStringTrimTrailingZeros) TrimTrailingZeros(text);
    }
    const char* sign = negative ? "-" : (flags & kNumberToStringShowPlusSign) ? "+" : "";
    text.insert(0, sign);
    if (text.size() > maxLength && !std::isinf(value)) {
      text = sign + FormatScientific(magnitude, decimals);
    }
  }
  if (text.size() > maxLength) text.resize(maxLength);
  return WideString(text.begin(), text.end());
}

}  // namespace kilncore::string
