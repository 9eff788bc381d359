#include <host/output/WebVttWriter.h>

#include <cstdio>
#include <sstream>

namespace tetherhost {

namespace {

constexpr int64_t kTicksPerMillisecond = 254016000;

}  // namespace

std::string WebVttWriter::Time(int64_t ticks, char decimalSeparator) {
  const int64_t milliseconds = ticks < 0 ? 0 : ticks / kTicksPerMillisecond;
  char text[48];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld%c%03lld", static_cast<long long>(milliseconds / 3600000),
                static_cast<long long>(milliseconds / 60000 % 60), static_cast<long long>(milliseconds / 1000 % 60),
                decimalSeparator, static_cast<long long>(milliseconds % 1000));
  return text;
}

std::string WebVttWriter::SafeText(const std::string& text) {
  std::string out;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    for (size_t at = line.find("-->"); at != std::string::npos; at = line.find("-->", at)) {
      line.replace(at, 3, "--\xC2\xA0>");
    }
    if (!out.empty()) out += '\n';
    out += line;
  }
  return out;
}

std::string WebVttWriter::Write(const KL::CaptionStream& stream) {
  std::string out = "WEBVTT\n";
  for (const KL::CaptionCue& cue : stream.cues) {
    const std::string text = SafeText(cue.text);
    if (text.empty()) continue;
    out += "\n" + Time(cue.start) + " --> " + Time(cue.end) + "\n" + text + "\n";
  }
  return out;
}

}  // namespace tetherhost
