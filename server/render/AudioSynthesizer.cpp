#include <server/render/AudioSynthesizer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tetherserver {
namespace {

double Turns(double frequency, int64_t sample, uint32_t sampleRate) {
  return std::fmod(frequency * static_cast<double>(sample), static_cast<double>(sampleRate)) /
         sampleRate;
}

bool ToneIncludes(const AudioTone& tone, uint32_t channel) {
  return tone.channels.empty() ||
         std::find(tone.channels.begin(), tone.channels.end(), channel) != tone.channels.end();
}

}  // namespace

float AudioSynthesizer::ExpectedSample(const Composition& composition, uint32_t sampleRate,
                                       int64_t sample, uint32_t channel) {
  if (sampleRate == 0 || sample < 0 || channel >= composition.audio.channelCount ||
      sample >= SampleCount(composition, sampleRate)) {
    return 0.0f;
  }
  constexpr double kTwoPi = 2.0 * std::numbers::pi;
  double value = kChannelToneAmplitude *
                 std::sin(kTwoPi * Turns(kChannelToneHz * (channel + 1), sample, sampleRate));
  for (const AudioTone& tone : composition.audio.tones) {
    if (!ToneIncludes(tone, channel)) continue;
    value += tone.amplitude * std::sin(kTwoPi * (Turns(tone.frequency, sample, sampleRate) + tone.phase));
  }
  return static_cast<float>(value);
}

ProjectError AudioSynthesizer::RenderBlock(const Composition& composition, uint32_t sampleRate,
                                           int64_t startSample, uint32_t frameCount,
                                           uint32_t channelCount, float* out, size_t capacity) {
  const size_t needed = size_t{frameCount} * channelCount;
  if (sampleRate == 0 || (needed > 0 && !out) || capacity < needed) {
    return ProjectError{ProjectError::Kind::kBadBuffer,
                        "the audio buffer is missing or too small, or the rate is 0"};
  }
  for (uint32_t i = 0; i < frameCount; ++i) {
    for (uint32_t c = 0; c < channelCount; ++c) {
      out[size_t{i} * channelCount + c] = ExpectedSample(composition, sampleRate, startSample + i, c);
    }
  }
  return {};
}

int64_t AudioSynthesizer::SampleCount(const Composition& composition, uint32_t sampleRate) {
  // frames * den * rate / num, in 128 bits: every term is bounded by the
  // parser, but their product may not fit 64 bits.
  const __int128 product = static_cast<__int128>(composition.durationFrames) *
                           composition.rateDenominator * sampleRate;
  return static_cast<int64_t>(product / composition.rateNumerator);
}

int64_t AudioSynthesizer::SampleAt(const tether::RatioTime& time, uint32_t sampleRate) {
  const __int128 product = static_cast<__int128>(time.numerator()) * sampleRate;
  const __int128 den = time.denominator();
  __int128 quotient = product / den;
  if (product % den != 0 && product < 0) --quotient;  // round towards minus infinity
  return static_cast<int64_t>(quotient);
}

uint32_t AudioSynthesizer::SampleRateOfTicks(tether::FrameRate ticksPerSample) {
  if (ticksPerSample <= 0 || tether::kTicksPerSecond % ticksPerSample != 0) return 0;
  const int64_t rate = tether::kTicksPerSecond / ticksPerSample;
  return rate > std::numeric_limits<uint32_t>::max() ? 0 : static_cast<uint32_t>(rate);
}

}  // namespace tetherserver
