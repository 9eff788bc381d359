#pragma once

#include <server/project/Composition.h>
#include <server/project/ProjectError.h>

#include <tether/MediaTypes.h>

#include <cstddef>
#include <cstdint>

namespace tetherserver {

// Makes the audio of a composition: every sample is a fixed function of its
// absolute position and channel, so tests anywhere can check any block.
//
// Sample n (counted from the composition's start, at rate R Hz) of channel c:
//   0 when n < 0, n >= SampleCount(composition, R), or c >= the composition's
//   channel count; otherwise, computed in double and rounded once to float,
//     kChannelToneAmplitude * sin(2 pi * Turns(kChannelToneHz * (c + 1), n, R))
//   + the sum over the composition's tones t that include c of
//     t.amplitude * sin(2 pi * (Turns(t.frequency, n, R) + t.phase))
//   where Turns(f, n, R) = fmod(f * n, R) / R (the fraction of a turn).
// The channel tone tells the channels apart even without tones of the
// composition's own.
//
// Stateless and reentrant.
class AudioSynthesizer {
 public:
  static constexpr double kChannelToneHz = 100.0;
  static constexpr double kChannelToneAmplitude = 1.0 / 64.0;

  // The expected value of sample `sample` of `channel` at `sampleRate` Hz.
  static float ExpectedSample(const Composition& composition, uint32_t sampleRate,
                              int64_t sample, uint32_t channel);

  // Fills `out` with `frameCount` interleaved sample frames of `channelCount`
  // channels, from sample `startSample` on: out[i * channelCount + c] is
  // ExpectedSample(composition, sampleRate, startSample + i, c). kBadBuffer if
  // `out` is null with frames to write, if `capacity` (in floats) is below
  // frameCount * channelCount, or if sampleRate is 0.
  static ProjectError RenderBlock(const Composition& composition, uint32_t sampleRate,
                                  int64_t startSample, uint32_t frameCount, uint32_t channelCount,
                                  float* out, size_t capacity);

  // The number of samples of the composition at `sampleRate`: its duration
  // times the rate, rounded down.
  static int64_t SampleCount(const Composition& composition, uint32_t sampleRate);

  // The sample that holds `time` (seconds): time * rate rounded down.
  static int64_t SampleAt(const tether::RatioTime& time, uint32_t sampleRate);

  // Hz of a sample length in ticks, as tether::AudioRenderOptions gives it; 0
  // when the length isn't a whole divisor of a second's ticks.
  static uint32_t SampleRateOfTicks(tether::FrameRate ticksPerSample);
};

}  // namespace tetherserver
