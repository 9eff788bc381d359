#include <host/output/SrtWriter.h>

#include <host/output/WebVttWriter.h>

namespace tetherhost {

std::string SrtWriter::Write(const KL::CaptionStream& stream) {
  std::string out;
  int number = 0;
  for (const KL::CaptionCue& cue : stream.cues) {
    const std::string text = WebVttWriter::SafeText(cue.text);
    if (text.empty()) continue;
    out += std::to_string(++number) + "\n" + WebVttWriter::Time(cue.start, ',') + " --> " +
           WebVttWriter::Time(cue.end, ',') + "\n" + text + "\n\n";
  }
  return out;
}

}  // namespace tetherhost
