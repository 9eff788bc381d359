#include <server/render/BurnInText.h>

#include <algorithm>

namespace tetherserver {

std::string BurnInText::FrameNumber(const Composition& composition, int64_t frameIndex) {
  return std::to_string(composition.startFrame + frameIndex);
}

std::string BurnInText::Timecode(const Composition& composition, int64_t frameIndex) {
  const int64_t base = composition.TimecodeBase();
  int64_t frame = std::max<int64_t>(0, composition.startFrame + frameIndex);
  if (composition.dropFrame) {
    // Labels are dropped, never frames: add back the labels skipped so far.
    const int64_t dropped = base / 15;  // 2 at 30, 4 at 60
    const int64_t perTenMinutes = base * 600 - dropped * 9;
    const int64_t perMinute = base * 60 - dropped;
    const int64_t tens = frame / perTenMinutes;
    const int64_t rest = frame % perTenMinutes;
    frame += dropped * 9 * tens;
    if (rest > dropped) frame += dropped * ((rest - dropped) / perMinute);
  }
  const int64_t ff = frame % base;
  const int64_t seconds = frame / base;
  const int64_t parts[4] = {seconds / 3600 % 24, seconds / 60 % 60, seconds % 60, ff};
  std::string text;
  for (int i = 0; i < 4; ++i) {
    if (i > 0) text += (i == 3 && composition.dropFrame) ? ';' : ':';
    text += static_cast<char>('0' + parts[i] / 10);
    text += static_cast<char>('0' + parts[i] % 10);
  }
  return text;
}

}  // namespace tetherserver
