#include <host/cli/ReadableNames.h>

#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <cstdio>

namespace tetherhost {

std::string FieldTypeName(int32_t fieldType) {
  switch (fieldType) {
    case kilnmediatypes::kFieldType_Progressive: return "progressive";
    case kilnmediatypes::kFieldType_UpperFirst: return "interlaced, upper field first";
    case kilnmediatypes::kFieldType_LowerFirst: return "interlaced, lower field first";
    case kilnmediatypes::kFieldType_Any: return "any";
    default: return "field type " + std::to_string(fieldType);
  }
}

std::string TimeDisplayName(int32_t timeDisplay) {
  struct Named {
    kilnmediatypes::TimeDisplayType type;
    const char* name;
  };
  static constexpr Named kNames[] = {
      {kilnmediatypes::kTimeDisplayType_23976Timecode, "23.976 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_24Timecode, "24 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_2997DropTimecode, "29.97 fps drop-frame timecode"},
      {kilnmediatypes::kTimeDisplayType_2997NonDropTimecode, "29.97 fps non-drop timecode"},
      {kilnmediatypes::kTimeDisplayType_25Timecode, "25 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_30Timecode, "30 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_50Timecode, "50 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_5994DropTimecode, "59.94 fps drop-frame timecode"},
      {kilnmediatypes::kTimeDisplayType_5994NonDropTimecode, "59.94 fps non-drop timecode"},
      {kilnmediatypes::kTimeDisplayType_60Timecode, "60 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_48Timecode, "48 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_47952Timecode, "47.952 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_100Timecode, "100 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_11988Timecode, "119.88 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_120Timecode, "120 fps timecode"},
      {kilnmediatypes::kTimeDisplayType_Frames, "frames"},
      {kilnmediatypes::kTimeDisplayType_None, "none"},
  };
  for (const Named& named : kNames) {
    if (named.type == timeDisplay) return named.name;
  }
  return "time display " + std::to_string(timeDisplay);
}

std::string ByteSizeText(uint64_t bytes) {
  static constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  if (bytes < 1024) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  double value = static_cast<double>(bytes) / 1024.0;
  size_t unit = 0;
  while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
    value /= 1024.0;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof(text), "%.1f %s", value, kUnits[unit]);
  return text;
}

}  // namespace tetherhost
