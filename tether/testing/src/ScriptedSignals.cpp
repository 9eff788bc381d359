#include <tether/testing/ScriptedSignals.h>

namespace tether::testing {

uint8_t ScriptedFrameByte(const kilncore::utility::Guid& identifier, size_t index) {
  uint8_t bytes[16];
  kilncore::utility::Guid::GuidToBytes(identifier, bytes);
  return static_cast<uint8_t>(bytes[index % 16] ^ static_cast<uint8_t>(index / 16));
}

void FillScriptedFrame(uint8_t* bytes, size_t size, const kilncore::utility::Guid& identifier) {
  uint8_t pattern[16];
  kilncore::utility::Guid::GuidToBytes(identifier, pattern);
  for (size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<uint8_t>(pattern[i % 16] ^ static_cast<uint8_t>(i / 16));
  }
}

float ScriptedAudioSample(int64_t frame, uint32_t channel) {
  const int64_t position = frame < 0 ? 0 : frame;
  const int64_t step = (position % 4096) * 16 + static_cast<int64_t>(channel % 16);
  return static_cast<float>(step) / 65536.0f;
}

}  // namespace tether::testing
