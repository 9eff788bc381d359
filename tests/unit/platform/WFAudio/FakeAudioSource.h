#pragma once

#include <DR/IAudioSource.h>
#include <RL/ISource.h>

#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/QueryMapEntries.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <atomic>
#include <vector>

namespace wfaudio_test {

// An item's audio stream whose samples tell where they come from: sample i of
// channel c at sample frame f holds f * 10 + c, so a test can check both the
// position and the channel of what it reads.
class FakeAudioSource : public RL::ISource, public DR::IAudioSource {
 public:
  explicit FakeAudioSource(uint32_t channels = 2) : mLayout(channels) {
    for (uint32_t c = 0; c < channels; ++c) mLayout[c].discreteIndex = c;
  }

  static float SampleAt(int64_t frame, uint32_t channel) {
    return static_cast<float>(frame * 10 + channel);
  }

  int32_t GetDuration(kilnmediatypes::TickTime& out) override {
    out = kilnmediatypes::TickTime(48000, kilnmediatypes::kAudioSampleRate_48000);
    return 0;
  }
  int32_t GetTimeStretchFlags(uint32_t& out) override {
    out = 0;
    return 0;
  }
  int32_t CancelPendingRequests() override {
    ++mCancels;
    return 0;
  }
  int32_t GetSourceRef(kilncore::classref::InterfaceRef<RL::ISource>& out) override {
    out = kilncore::classref::InterfaceRef<RL::ISource>::FromThis(this);
    return 0;
  }

  int32_t GetSampleRate(kilnmediatypes::FrameRate& out) override {
    out = mRateFails ? kilnmediatypes::FrameRate() : kilnmediatypes::kAudioSampleRate_48000;
    return mRateFails ? -1 : 0;
  }
  RL::AudioChannelType GetAudioChannelType() override { return RL::CreateAudioChannelType(mLayout); }
  uint32_t GetAudioChannelCount() override { return static_cast<uint32_t>(mLayout.size()); }
  int32_t GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) override {
    out = mLayout;
    return 0;
  }
  int32_t GetAudioSourceKind() override { return 7; }
  int32_t ReadAudio(int32_t, kilnaudiotoolkit::AudioBuffer& buffer, kilnmediatypes::TickTime position) override {
    ++mReads;
    const int64_t first = position.ToFrame64(kilnmediatypes::kAudioSampleRate_48000);
    for (uint32_t c = 0; c < buffer.GetChannelCount(); ++c) {
      float* channel = buffer.GetChannel(c);
      for (uint32_t i = 0; i < buffer.GetFrameCount(); ++i) channel[i] = SampleAt(first + i, c);
    }
    buffer.MarkFilled();
    return 0;
  }
  int32_t GetAudioMarkers(std::vector<AudioMarker>& out) override {
    out = {AudioMarker{kilnmediatypes::TickTime(5), kilnmediatypes::TickTime(6)}};
    return 0;
  }

  int Reads() const { return mReads.load(); }
  int Cancels() const { return mCancels.load(); }
  void SetSampleRateFails() { mRateFails = true; }

 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<FakeAudioSource, RL::ISource, DR::IAudioSource>(this, name);
  }

 private:
  std::vector<kilnmediatypes::AudioChannelDescription> mLayout;
  std::atomic<int> mReads{0};
  std::atomic<int> mCancels{0};
  bool mRateFails = false;
};

}  // namespace wfaudio_test
