#include <kilnaudiotoolkit/AudioBuffer.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kilnaudiotoolkit {

AudioBuffer::AudioBuffer(uint32_t channelCount, uint32_t frameCount)
    : mStorage(static_cast<size_t>(channelCount) * frameCount, 0.0f),
      mChannels(channelCount, nullptr),
      mFrameCount(frameCount) {
  for (uint32_t c = 0; c < channelCount; ++c) {
    mChannels[c] = mStorage.data() + static_cast<size_t>(c) * frameCount;
  }
}

AudioBuffer::AudioBuffer(float* const* channels, uint32_t channelCount, uint32_t frameCount)
    : mFrameCount(frameCount) {
  if (channels != nullptr) mChannels.assign(channels, channels + channelCount);
}

AudioBuffer::AudioBuffer(const AudioBuffer& other) { AssignOwnedCopy(other); }

AudioBuffer& AudioBuffer::operator=(const AudioBuffer& other) {
  if (this != &other) AssignOwnedCopy(other);
  return *this;
}

// A moved std::vector keeps its heap block, so the channel pointers into an
// owned storage stay valid in the destination.
AudioBuffer::AudioBuffer(AudioBuffer&& other) noexcept
    : mStorage(std::move(other.mStorage)),
      mChannels(std::move(other.mChannels)),
      mFrameCount(std::exchange(other.mFrameCount, 0)),
      mFilled(std::exchange(other.mFilled, false)) {
  other.mStorage.clear();
  other.mChannels.clear();
}

AudioBuffer& AudioBuffer::operator=(AudioBuffer&& other) noexcept {
  if (this != &other) {
    mStorage = std::move(other.mStorage);
    mChannels = std::move(other.mChannels);
    mFrameCount = std::exchange(other.mFrameCount, 0);
    mFilled = std::exchange(other.mFilled, false);
    other.mStorage.clear();
    other.mChannels.clear();
  }
  return *this;
}

float* const* AudioBuffer::GetChannels() const noexcept {
  return mChannels.empty() ? nullptr : mChannels.data();
}

float* AudioBuffer::GetChannel(uint32_t index) const noexcept {
  return index < mChannels.size() ? mChannels[index] : nullptr;
}

void AudioBuffer::Zero() {
  for (float* channel : mChannels) {
    if (channel != nullptr) std::fill_n(channel, mFrameCount, 0.0f);
  }
  mFilled = false;
}

void AudioBuffer::CopyFrom(const AudioBuffer& other) {
  if (this == &other) return;
  const uint32_t frames = std::min(mFrameCount, other.mFrameCount);
  for (uint32_t c = 0; c < GetChannelCount(); ++c) {
    float* target = mChannels[c];
    if (target == nullptr) continue;
    const float* source = other.GetChannel(c);
    uint32_t copied = 0;
    if (source != nullptr) {
      // Two buffers over the same arrays: the samples are already in place.
      if (source != target) std::copy_n(source, frames, target);
      copied = frames;
    }
    std::fill(target + copied, target + mFrameCount, 0.0f);
  }
  mFilled = other.mFilled;
}

void AudioBuffer::AssignOwnedCopy(const AudioBuffer& other) {
  AudioBuffer copy(other.GetChannelCount(), other.mFrameCount);
  copy.CopyFrom(other);
  *this = std::move(copy);
}

}  // namespace kilnaudiotoolkit
