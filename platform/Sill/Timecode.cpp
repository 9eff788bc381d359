#include <Sill/Timecode.h>

#include <kilncore/string/UTFConversion.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace Sill {

namespace {

// Floor division, so that a time just before 0 is frame -1.
int64_t FloorDivide(int64_t a, int64_t b) {
  int64_t q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return q;
}

// The labels that drop-frame timecode skips each minute (none at other rates).
int64_t DroppedLabelsPerMinute(int64_t nominalRate) {
  if (nominalRate == 30) return 2;
  if (nominalRate == 60) return 4;
  return 0;
}

// Turns a count of real frames into the count of labels that drop-frame
// timecode shows for it: each minute skips `drop` labels, except every tenth.
int64_t DropFrameLabel(int64_t frames, int64_t nominalRate, int64_t drop) {
  const int64_t perMinute = nominalRate * 60 - drop;
  const int64_t perTenMinutes = nominalRate * 600 - drop * 9;
  const int64_t tens = frames / perTenMinutes;
  const int64_t rest = frames % perTenMinutes;
  int64_t label = frames + drop * 9 * tens;
  if (rest > drop) label += drop * ((rest - drop) / perMinute);
  return label;
}

}  // namespace

Timecode::Timecode(kilnmediatypes::TickTime time, kilnmediatypes::FrameRate rate,
                   kilnmediatypes::TimeDisplay display) {
  mFrameCount = display.GetType() == kilnmediatypes::kTimeDisplayType_Frames;
  if (!rate.HasRate()) return;
  mFrames = FloorDivide(time.GetTicks(), rate.GetTicksPerFrame());
  mNominalRate = std::max<int64_t>(1, std::llround(rate.ToFramesPerSecond()));
  mDropFrame = display.IsDropFrame() && DroppedLabelsPerMinute(mNominalRate) > 0;
}

kilncore::WideString Timecode::GetString() const {
  if (mFrameCount) return kilncore::string::UTF8to16(std::to_string(mFrames));
  if (mNominalRate == 0) return u"00:00:00:00";
  const bool negative = mFrames < 0;
  int64_t label = negative ? -mFrames : mFrames;
  if (mDropFrame) label = DropFrameLabel(label, mNominalRate, DroppedLabelsPerMinute(mNominalRate));
  const int64_t frames = label % mNominalRate;
  const int64_t seconds = (label / mNominalRate) % 60;
  const int64_t minutes = (label / (mNominalRate * 60)) % 60;
  const int64_t hours = label / (mNominalRate * 3600);
  char text[64];
  std::snprintf(text, sizeof text, "%s%02lld:%02lld:%02lld%c%02lld", negative ? "-" : "",
                static_cast<long long>(hours), static_cast<long long>(minutes), static_cast<long long>(seconds),
                mDropFrame ? ';' : ':', static_cast<long long>(frames));
  return kilncore::string::UTF8to16(text);
}

}  // namespace Sill
