#include <KL/CaptionText.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <vector>

namespace KL::CaptionText {

namespace {

// The latest time a cue may reach: far beyond any item, and far from overflow.
constexpr int64_t kMaxTime = int64_t{1} << 62;

// A line split into its keyword and the rest, the rest after one blank.
struct Line {
  size_t number = 0;
  std::string_view keyword;
  std::string_view rest;
};

bool IsValidUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    size_t length = 0;
    uint32_t point = 0;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      length = 2;
      point = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      length = 3;
      point = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      length = 4;
      point = c & 0x07;
    } else {
      return false;
    }
    if (i + length > text.size()) return false;
    for (size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      point = (point << 6) | (next & 0x3F);
    }
    // Overlong forms, surrogates and points past U+10FFFF are not UTF-8.
    const uint32_t least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    if (point < least || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

template <class Number>
bool ReadNumber(std::string_view text, Number& out) {
  if (text.empty() || text.front() == '+' || text.front() == '-') return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
  return error == std::errc() && end == text.data() + text.size();
}

// Splits "word rest" at its first blank; the rest may be empty.
std::pair<std::string_view, std::string_view> SplitWord(std::string_view text) {
  const size_t blank = text.find(' ');
  if (blank == std::string_view::npos) return {text, {}};
  return {text.substr(0, blank), text.substr(blank + 1)};
}

// Undoes the escapes of a cue's text: "\n" a line break, "\t" a tab, "\\" a
// backslash. Any other escape, and any control character, is an error.
bool Unescape(std::string_view text, std::string& out) {
  out.clear();
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return false;
    if (c != '\\') {
      out.push_back(c);
      continue;
    }
    if (++i == text.size()) return false;
    switch (text[i]) {
      case 'n': out.push_back('\n'); break;
      case 't': out.push_back('\t'); break;
      case '\\': out.push_back('\\'); break;
      default: return false;
    }
  }
  return true;
}

std::string Escape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      case '\\': out += "\\\\"; break;
      default: out.push_back(c);
    }
  }
  return out;
}

class Reader {
 public:
  Reader(std::string_view text, std::string& reason) : mText(text), mReason(reason) {}

  std::optional<CaptionDocument> Read() {
    if (mText.size() > kMaxTextBytes) return Fail(0, "the text is larger than 64 MB");
    if (!IsValidUtf8(mText)) return Fail(0, "the text is not UTF-8");
    std::vector<Line> lines = SplitLines();
    if (lines.empty() || lines.front().number != 1 || Joined(lines.front()) != kHeader) {
      return Fail(1, "the first line is not \"" + std::string(kHeader) + "\"");
    }
    for (size_t i = 1; i < lines.size(); ++i) {
      if (!ReadLine(lines[i])) return std::nullopt;
    }
    if (!mHasFormat) return Fail(0, "the text has no format line");
    return std::move(mDocument);
  }

 private:
  static std::string Joined(const Line& line) {
    return line.rest.data() ? std::string(line.keyword) + " " + std::string(line.rest) : std::string(line.keyword);
  }

  // Lines end in "\n" or "\r\n"; empty lines and lines that start with '#'
  // are left out.
  std::vector<Line> SplitLines() const {
    std::vector<Line> lines;
    size_t number = 0;
    size_t start = 0;
    while (start <= mText.size()) {
      size_t end = mText.find('\n', start);
      if (end == std::string_view::npos) end = mText.size();
      std::string_view line = mText.substr(start, end - start);
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      ++number;
      if (!line.empty() && line.front() != '#') {
        const auto [keyword, rest] = SplitWord(line);
        Line entry{number, keyword, rest};
        if (line.find(' ') == std::string_view::npos) entry.rest = std::string_view();
        lines.push_back(entry);
      }
      start = end + 1;
    }
    return lines;
  }

  bool ReadLine(const Line& line) {
    if (line.keyword == "format") return ReadFormat(line);
    if (line.keyword == "stream") return ReadStream(line);
    if (line.keyword == "cue") return ReadCue(line);
    Fail(line.number, "unknown keyword \"" + std::string(line.keyword) + "\"");
    return false;
  }

  bool ReadFormat(const Line& line) {
    if (mHasFormat) return Failed(line.number, "a second format line");
    if (!mDocument.streams.empty()) return Failed(line.number, "the format line comes after a stream");
    if (!ReadNumber(line.rest, mDocument.streamFormat)) {
      return Failed(line.number, "the format is not a number from 0 to 4294967295");
    }
    mHasFormat = true;
    return true;
  }

  bool ReadStream(const Line& line) {
    if (!mHasFormat) return Failed(line.number, "a stream before the format line");
    if (mDocument.streams.size() == kMaxStreams) return Failed(line.number, "more than 4096 streams");
    const auto [idText, label] = SplitWord(line.rest);
    CaptionStream stream;
    if (!ReadNumber(idText, stream.id)) return Failed(line.number, "the stream identifier is not a number");
    for (const CaptionStream& other : mDocument.streams) {
      if (other.id == stream.id) return Failed(line.number, "the stream identifier is used twice");
    }
    if (!Unescape(label, stream.label)) return Failed(line.number, "the stream label has a bad escape");
    mDocument.streams.push_back(std::move(stream));
    return true;
  }

  bool ReadCue(const Line& line) {
    if (mDocument.streams.empty()) return Failed(line.number, "a cue before the first stream");
    if (++mCues > kMaxCues) return Failed(line.number, "more than 1000000 cues");
    const auto [startText, afterStart] = SplitWord(line.rest);
    const auto [endText, text] = SplitWord(afterStart);
    CaptionCue cue;
    if (!ReadNumber(startText, cue.start) || !ReadNumber(endText, cue.end)) {
      return Failed(line.number, "a cue's start and end must be whole numbers of ticks");
    }
    if (cue.end <= cue.start || cue.end > kMaxTime) {
      return Failed(line.number, "a cue must end after it starts, before 2^62 ticks");
    }
    std::vector<CaptionCue>& cues = mDocument.streams.back().cues;
    if (!cues.empty() && cue.start < cues.back().start) {
      return Failed(line.number, "a cue starts before the one above it");
    }
    if (!Unescape(text, cue.text)) return Failed(line.number, "the cue's text has a bad escape or control character");
    cues.push_back(std::move(cue));
    return true;
  }

  std::nullopt_t Fail(size_t lineNumber, const std::string& why) {
    mReason = lineNumber > 0 ? "line " + std::to_string(lineNumber) + ": " + why : why;
    return std::nullopt;
  }
  bool Failed(size_t lineNumber, const std::string& why) {
    Fail(lineNumber, why);
    return false;
  }

  std::string_view mText;
  std::string& mReason;
  CaptionDocument mDocument;
  bool mHasFormat = false;
  size_t mCues = 0;
};

}  // namespace

std::optional<CaptionDocument> Parse(std::string_view text, std::string& reason) {
  reason.clear();
  return Reader(text, reason).Read();
}

std::string Write(const CaptionDocument& document) {
  std::string out(kHeader);
  out += "\nformat " + std::to_string(document.streamFormat) + "\n";
  for (const CaptionStream& stream : document.streams) {
    out += "stream " + std::to_string(stream.id);
    out += " " + Escape(stream.label);
    out += "\n";
    for (const CaptionCue& cue : stream.cues) {
      out += "cue " + std::to_string(cue.start) + " " + std::to_string(cue.end) + " " + Escape(cue.text) + "\n";
    }
  }
  return out;
}

}  // namespace KL::CaptionText
