#include <kilnmediatypes/TimeDisplay.h>

#include <array>
#include <cstdlib>

namespace kilnmediatypes {
namespace {

struct TimecodeEntry {
  FrameRate rate;
  TimeDisplayType nonDrop;
  TimeDisplayType drop;  // the same as nonDrop where no drop-frame count exists
};

constexpr std::array<TimecodeEntry, 13> kTimecodes = {{
    {kFrameRate_Film23976, kTimeDisplayType_23976Timecode, kTimeDisplayType_23976Timecode},
    {kFrameRate_Film24, kTimeDisplayType_24Timecode, kTimeDisplayType_24Timecode},
    {kFrameRate_PAL25, kTimeDisplayType_25Timecode, kTimeDisplayType_25Timecode},
    {kFrameRate_NTSC2997, kTimeDisplayType_2997NonDropTimecode, kTimeDisplayType_2997DropTimecode},
    {kFrameRate_30, kTimeDisplayType_30Timecode, kTimeDisplayType_30Timecode},
    {kFrameRate_47952, kTimeDisplayType_47952Timecode, kTimeDisplayType_47952Timecode},
    {kFrameRate_48, kTimeDisplayType_48Timecode, kTimeDisplayType_48Timecode},
    {kFrameRate_50, kTimeDisplayType_50Timecode, kTimeDisplayType_50Timecode},
    {kFrameRate_5994, kTimeDisplayType_5994NonDropTimecode, kTimeDisplayType_5994DropTimecode},
    {kFrameRate_60, kTimeDisplayType_60Timecode, kTimeDisplayType_60Timecode},
    {kFrameRate_100, kTimeDisplayType_100Timecode, kTimeDisplayType_100Timecode},
    {kFrameRate_11988, kTimeDisplayType_11988Timecode, kTimeDisplayType_11988Timecode},
    {kFrameRate_120, kTimeDisplayType_120Timecode, kTimeDisplayType_120Timecode},
}};

// 10 ppm: a 29.97 stated as the double 29.97 is ~1 ppm off 30000/1001, while
// the closest pair of table rates (23.976 and 24) is 1000 ppm apart.
constexpr int64_t kNearbyPartsPerMillion = 10;

bool IsNearby(int64_t ticks, int64_t tableTicks) {
  const __int128 difference = std::llabs(ticks - tableTicks);
  return difference * 1000000 <= static_cast<__int128>(tableTicks) * kNearbyPartsPerMillion;
}

const TimecodeEntry* FindEntry(const FrameRate& rate, bool matchNearby) {
  for (const TimecodeEntry& entry : kTimecodes) {
    if (entry.rate == rate) return &entry;
  }
  if (!matchNearby || !rate.HasRate()) return nullptr;
  for (const TimecodeEntry& entry : kTimecodes) {
    if (IsNearby(rate.GetTicksPerFrame(), entry.rate.GetTicksPerFrame())) return &entry;
  }
  return nullptr;
}

}  // namespace

bool TimeDisplay::IsDropFrame() const noexcept {
  return mType == kTimeDisplayType_2997DropTimecode || mType == kTimeDisplayType_5994DropTimecode;
}

FrameRate TimeDisplay::GetFrameRate() const noexcept {
  for (const TimecodeEntry& entry : kTimecodes) {
    if (entry.nonDrop == mType || entry.drop == mType) return entry.rate;
  }
  return kFrameRate_None;
}

namespace {

TimeDisplay GetTimeDisplayForFrameRateReal(const FrameRate& rate, bool dropFrame, bool framesForOtherRates,
                                           TimeDisplayType defaultType, bool matchNearbyRates) {
  if (const TimecodeEntry* entry = FindEntry(rate, matchNearbyRates)) {
    return TimeDisplay(dropFrame ? entry->drop : entry->nonDrop);
  }
  if (framesForOtherRates && rate.HasRate()) return TimeDisplay(kTimeDisplayType_Frames);
  return TimeDisplay(defaultType);
}

}  // namespace

kilncore::utility::Seam<TimeDisplay(const FrameRate&, bool, bool, TimeDisplayType, bool)>&
GetTimeDisplayForFrameRateSeam() {
  static auto* const seam =
      new kilncore::utility::Seam<TimeDisplay(const FrameRate&, bool, bool, TimeDisplayType, bool)>(
          &GetTimeDisplayForFrameRateReal);
  return *seam;
}

TimeDisplay GetTimeDisplayForFrameRate(const FrameRate& rate, bool dropFrame, bool framesForOtherRates,
                                       TimeDisplayType defaultType, bool matchNearbyRates) {
  return GetTimeDisplayForFrameRateSeam()(rate, dropFrame, framesForOtherRates, defaultType, matchNearbyRates);
}

}  // namespace kilnmediatypes
