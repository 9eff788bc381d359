#pragma once

#include <tether/MediaTypes.h>

#include <utility>
#include <vector>

namespace tether {

// What an audio renderer delivers: the channels, in block order, and the rate.
class AudioRenderOptions {
 public:
  void SetAudioChannelLayout(std::vector<AudioChannelLabel> layout) { mLayout = std::move(layout); }
  const std::vector<AudioChannelLabel>& GetAudioChannelLayout() const { return mLayout; }

  // The length of one sample frame in ticks.
  void SetSampleRate(FrameRate rate) { mSampleRate = rate; }
  FrameRate GetSampleRate() const { return mSampleRate; }

  friend bool operator==(const AudioRenderOptions&, const AudioRenderOptions&) = default;

 private:
  std::vector<AudioChannelLabel> mLayout;
  FrameRate mSampleRate = kNoFrameRate;
};

}  // namespace tether
