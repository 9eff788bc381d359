#include <tether/testing/ScriptedSourceSetup.h>

namespace tether::testing {

ScriptedSourceSetup ScriptedSourceSetup::Typical() {
  constexpr FrameRate kFilm24 = kTicksPerSecond / 24;
  constexpr FrameRate k48kHz = kTicksPerSecond / 48000;
  constexpr uint32_t kBGRA = 0x42475241;  // 'BGRA'

  ScriptedSourceSetup setup;
  SourceInfo& info = setup.info;
  info.name = u"Item";
  info.producerDescription = u"Scripted server";
  info.width = 1920;
  info.height = 1080;
  info.frameRate = kFilm24;
  info.fieldType = 0;
  info.nativePixelFormats = {PixelFormat{kBGRA, 0}};
  info.hasVideo = true;
  info.hasAudio = true;
  info.audioChannelLayout = {1, 2};
  info.audioSampleRate = k48kHz;
  info.duration = RatioTime(10, 1);
  info.tickCount = RatioTime(10, 1);
  info.workInPoint = RatioTime(0, 1);
  info.workOutPoint = RatioTime(10, 1);
  info.contentState = kilncore::utility::Guid("5C21E2B0-7F3A-4C55-9D1E-0A6B3C4D5E6F");
  return setup;
}

}  // namespace tether::testing
