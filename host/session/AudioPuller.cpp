#include <host/session/AudioPuller.h>

#include <host/cli/HostError.h>

#include <kilnmediatypes/FrameRate.h>

namespace tetherhost {

AudioPuller::AudioPuller(DR::IAudioSource& audio, uint32_t framesPerBlock) : mAudio(audio) {
  kilnmediatypes::FrameRate sampleLength;
  audio.GetSampleRate(sampleLength);
  mChannels = audio.GetAudioChannelCount();
  if (!sampleLength.HasRate() || mChannels == 0) throw HostError("the audio stream has no samples to read");
  mTicksPerSample = sampleLength.GetTicksPerFrame();
  mSampleRate = static_cast<int32_t>(kilnmediatypes::kTicksPerSecond / mTicksPerSample);
  mBuffer = kilnaudiotoolkit::AudioBuffer(mChannels, framesPerBlock);
}

const kilnaudiotoolkit::AudioBuffer& AudioPuller::Read(int64_t frame) {
  mBuffer.Zero();
  const kilnmediatypes::TickTime position(frame * mTicksPerSample);
  HostError::ThrowIfFailed(mAudio.ReadAudio(0, mBuffer, position), "audio at sample " + std::to_string(frame));
  return mBuffer;
}

std::vector<kilnmediatypes::AudioChannelLabel> AudioPuller::Labels() const {
  std::vector<kilnmediatypes::AudioChannelDescription> layout;
  if (mAudio.GetAudioChannelLayout(layout) < 0 || layout.size() != mChannels) return {};
  std::vector<kilnmediatypes::AudioChannelLabel> labels;
  for (const auto& channel : layout) labels.push_back(channel.label);
  return labels;
}

int64_t AudioPuller::FrameAt(kilnmediatypes::TickTime time) const { return time.GetTicks() / mTicksPerSample; }

}  // namespace tetherhost
