#include <kilncore/string/UTFConversion.h>

#include <boost/locale/utf.hpp>

#include <iterator>

namespace kilncore::string {
namespace {

namespace utf = boost::locale::utf;

// Decodes every character of `text` with the traits of its encoding and
// re-encodes it with the traits of the output. A failed decode restarts one
// unit further on, so no input can stall or overrun the loop.
template <typename Out, typename In>
Out Transcode(In text) {
  using InTraits = utf::utf_traits<typename In::value_type>;
  using OutTraits = utf::utf_traits<typename Out::value_type>;
  Out result;
  result.reserve(text.size());
  auto out = std::back_inserter(result);
  auto current = text.begin();
  const auto end = text.end();
  while (current != end) {
    const auto start = current;
    const utf::code_point c = InTraits::decode(current, end);
    if (c != utf::illegal && c != utf::incomplete) {
      out = OutTraits::encode(c, out);
      continue;
    }
    out = OutTraits::encode(kReplacementCharacter, out);
    current = std::next(start);
    // A bad lead byte of UTF-8 takes its continuation bytes with it, so that
    // one broken character gives one replacement.
    if constexpr (InTraits::max_width == 4) {
      while (current != end && InTraits::is_trail(*current)) ++current;
    }
  }
  return result;
}

}  // namespace

WideString UTF8to16(std::string_view text) { return Transcode<WideString>(text); }

std::string UTF16to8(WideStringView text) { return Transcode<std::string>(text); }

WideString AsciiToUTF16(std::string_view text) {
  WideString result;
  result.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    result.push_back(byte < 0x80 ? static_cast<char16_t>(byte)
                                 : static_cast<char16_t>(kReplacementCharacter));
  }
  return result;
}

}  // namespace kilncore::string
