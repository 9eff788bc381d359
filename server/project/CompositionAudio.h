#pragma once

#include <cstdint>
#include <vector>

namespace tetherserver {

// A sine tone that a composition's audio carries.
struct AudioTone {
  double frequency = 440.0;  // Hz
  double amplitude = 0.25;
  double phase = 0.0;        // in turns (0..1) at sample 0
  // The composition's channels that carry the tone; empty means all.
  std::vector<uint32_t> channels;

  friend bool operator==(const AudioTone&, const AudioTone&) = default;
};

// The audio of a composition. A composition without audio has channelCount 0.
struct CompositionAudio {
  uint32_t sampleRate = 48000;  // Hz; divides the host's ticks per second
  uint32_t channelCount = 0;
  // The host's channel labels, one per channel.
  std::vector<uint32_t> channelLabels;
  std::vector<AudioTone> tones;

  bool HasAudio() const { return channelCount > 0; }
  friend bool operator==(const CompositionAudio&, const CompositionAudio&) = default;
};

}  // namespace tetherserver
