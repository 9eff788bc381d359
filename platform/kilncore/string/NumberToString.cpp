#include <kilncore/string/NumberToString.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

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

// The sign and the digits as one new string. Built by appending rather than
// by inserting the sign in front: an insert at the start goes through the
// string's overlap-safe replace, whose copy gcc 12 at -O3 cannot prove
// disjoint and reports under -Wrestrict.
std::string WithSign(std::string_view sign, std::string_view digits) {
  std::string out;
  out.reserve(sign.size() + digits.size());
  out.append(sign).append(digits);
  return out;
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
    const std::string_view sign = negative ? "-" : (flags & kNumberToStringShowPlusSign) ? "+" : "";
    const size_t signedLength = sign.size() + text.size();
    if (signedLength > maxLength && !std::isinf(value)) {
      text = WithSign(sign, FormatScientific(magnitude, decimals));
    } else {
      text = WithSign(sign, text);
    }
  }
  if (text.size() > maxLength) text.resize(maxLength);
  return WideString(text.begin(), text.end());
}

}  // namespace kilncore::string
