#pragma once

#include <cstdint>
#include <vector>

namespace kilnaudiotoolkit {

// A block of audio as the host hands it to a source to be filled: one array of
// 32-bit float samples per channel (planar, not interleaved), all of the same
// length, the number of sample frames that the reader wants.
//
// A buffer either refers to arrays that its creator owns (the usual case: the
// host's mixer passes its own memory down to a source) or owns its samples.
// Copying always yields an owning buffer with the same samples, channel count,
// frame count and filled mark, so a copy stays valid and unchanged after the
// original's memory is reused; this is what makes a copy usable as a cache of
// a block. To put samples into the caller's arrays, use CopyFrom.
//
// A source writes into the channel arrays and then calls MarkFilled, which
// tells the reader that the block carries real samples rather than the
// silence it was handed. Zero writes silence and clears that mark.
//
// Not thread-safe: one buffer belongs to one reader at a time.
class AudioBuffer {
 public:
  // A buffer with no channels and no frames.
  AudioBuffer() = default;

  // An owning buffer of `channelCount` channels of `frameCount` frames, all
  // silent.
  AudioBuffer(uint32_t channelCount, uint32_t frameCount);

  // A buffer over the caller's arrays: `channels[c]` must point to
  // `frameCount` floats for each c below `channelCount`, and outlive the
  // buffer. A null array in `channels` is allowed and is skipped by every
  // operation.
  AudioBuffer(float* const* channels, uint32_t channelCount, uint32_t frameCount);

  // Deep copies; see the class comment.
  AudioBuffer(const AudioBuffer& other);
  AudioBuffer& operator=(const AudioBuffer& other);
  // Moving keeps whatever the source referred to or owned.
  AudioBuffer(AudioBuffer&& other) noexcept;
  AudioBuffer& operator=(AudioBuffer&& other) noexcept;
  ~AudioBuffer() = default;

  // The channel arrays, `GetChannelCount()` of them; null if there are none.
  float* const* GetChannels() const noexcept;
  // The array of channel `index`, or null if `index` is not below the channel
  // count.
  float* GetChannel(uint32_t index) const noexcept;
  uint32_t GetChannelCount() const noexcept { return static_cast<uint32_t>(mChannels.size()); }
  // The number of sample frames that the reader wants in each channel.
  uint32_t GetFrameCount() const noexcept { return mFrameCount; }
  // Whether the buffer owns its samples (true for every copy).
  bool OwnsSamples() const noexcept { return !mStorage.empty() || mChannels.empty(); }

  // Writes silence into every frame of every channel and clears the filled
  // mark.
  void Zero();

  // Copies the samples of `other` into this buffer's arrays, channel by
  // channel, and takes over its filled mark. Where the two differ in shape,
  // the common channels and frames are copied and every further frame or
  // channel of this buffer is set to silence. Copying a buffer into itself
  // changes nothing.
  void CopyFrom(const AudioBuffer& other);

  // Records that the arrays now hold samples delivered by a source.
  void MarkFilled() noexcept { mFilled = true; }
  bool IsFilled() const noexcept { return mFilled; }

 private:
  // Makes this buffer own a copy of `other`'s samples.
  void AssignOwnedCopy(const AudioBuffer& other);

  std::vector<float> mStorage;  // channel after channel, when owning
  std::vector<float*> mChannels;
  uint32_t mFrameCount = 0;
  bool mFilled = false;
};

}  // namespace kilnaudiotoolkit
