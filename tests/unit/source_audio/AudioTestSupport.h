#pragma once

#include "../source/SourceTestSupport.h"

#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>
#include <tether/testing/ScriptedSignals.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace TetherMedia::testing {

// The scripted items play at 48 kHz.
inline constexpr int64_t kTicksPerSample = kilnmediatypes::kAudioSampleRate_48000.GetTicksPerFrame();

// The time of sample frame `frame`.
inline kilnmediatypes::TickTime AtFrame(int64_t frame) { return kilnmediatypes::TickTime(frame * kTicksPerSample); }

// An item with the typical description but the given channel layout and a
// duration of `durationFrames` sample frames.
inline tether::testing::ScriptedSourceSetup AudioItem(std::vector<tether::AudioChannelLabel> layout,
                                                      int64_t durationFrames = 480000) {
  auto setup = tether::testing::ScriptedSourceSetup::Typical();
  setup.info.audioChannelLayout = std::move(layout);
  setup.info.duration = tether::RatioTime(durationFrames, 48000);
  return setup;
}

// Whether the first `frames` frames of the first `channels` channels of
// `buffer` are the server's samples from sample frame `firstFrame` on.
inline ::testing::AssertionResult HoldsSamples(const kilnaudiotoolkit::AudioBuffer& buffer, int64_t firstFrame,
                                               uint32_t frames, uint32_t channels) {
  if (buffer.GetChannelCount() < channels || buffer.GetFrameCount() < frames) {
    return ::testing::AssertionFailure() << "buffer too small";
  }
  for (uint32_t c = 0; c < channels; ++c) {
    const float* samples = buffer.GetChannel(c);
    for (uint32_t i = 0; i < frames; ++i) {
      const float wanted = tether::testing::ScriptedAudioSample(firstFrame + i, c);
      if (samples[i] != wanted) {
        return ::testing::AssertionFailure() << "channel " << c << " frame " << firstFrame + i << ": "
                                             << samples[i] << " instead of " << wanted;
      }
    }
  }
  return ::testing::AssertionSuccess();
}

// Whether every sample of `buffer` is `value`.
inline bool AllSamplesAre(const kilnaudiotoolkit::AudioBuffer& buffer, float value) {
  for (uint32_t c = 0; c < buffer.GetChannelCount(); ++c) {
    for (uint32_t i = 0; i < buffer.GetFrameCount(); ++i) {
      if (buffer.GetChannel(c)[i] != value) return false;
    }
  }
  return true;
}

// An owning buffer whose every sample is `value`, so that a test sees which
// samples a read wrote.
inline kilnaudiotoolkit::AudioBuffer BufferOf(uint32_t channels, uint32_t frames, float value) {
  kilnaudiotoolkit::AudioBuffer buffer(channels, frames);
  for (uint32_t c = 0; c < channels; ++c) std::fill_n(buffer.GetChannel(c), frames, value);
  return buffer;
}

}  // namespace TetherMedia::testing
