#include <source/TetherSource.h>

#include <source/MediaTypeConversions.h>

#include <Crate/ApplicationType.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/debug/TraceSite.h>
#include <kilnmediatypes/RatioTime.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>

namespace TetherMedia {

using kilnaudiotoolkit::AudioBuffer;
using kilncore::threads::ScopedRecursiveLock;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

namespace {

constexpr const char* kChannel = "TetherMedia";
// The server's samples are 32-bit floats.
constexpr size_t kBytesPerSample = sizeof(float);
// A layout of this many channels is what the server reports for an item whose
// audio only the mixing hosts can take apart.
constexpr size_t kPlaceholderChannelCount = 32;

bool IsMixingHost(int32_t applicationType) {
  return applicationType == 8 || applicationType == 11 || applicationType == 2;
}

std::string PositionText(TickTime position) { return std::to_string(position.GetTicks()); }

// Ends the one use of a block's address that GetAddress began, on every way
// out of a read.
class AddressUse {
 public:
  explicit AddressUse(processcoordination::BinaryReference& block) : mBlock(block), mAddress(block.GetAddress()) {}
  ~AddressUse() { mBlock.ReleaseAddress(); }
  AddressUse(const AddressUse&) = delete;
  AddressUse& operator=(const AddressUse&) = delete;

  const std::byte* Bytes() const { return static_cast<const std::byte*>(mAddress); }

 private:
  processcoordination::BinaryReference& mBlock;
  void* mAddress;
};

// Puts `frames` frames of `channels` interleaved samples into the buffer's
// per-channel arrays. The buffer never receives more frames than it wants,
// and a channel it doesn't have is skipped. The samples are read byte-wise:
// nothing promises that a block's bytes are aligned for floats.
void SpreadBlock(const std::byte* samples, size_t channels, size_t frames, AudioBuffer& buffer) {
  const size_t copied = std::min<size_t>(frames, buffer.GetFrameCount());
  if (channels == 1) {
    if (float* target = buffer.GetChannel(0)) std::memcpy(target, samples, copied * kBytesPerSample);
    return;
  }
  for (size_t c = 0; c < channels; ++c) {
    float* target = buffer.GetChannel(static_cast<uint32_t>(c));
    if (target == nullptr) continue;
    const std::byte* sample = samples + c * kBytesPerSample;
    for (size_t i = 0; i < copied; ++i, sample += channels * kBytesPerSample) {
      std::memcpy(target + i, sample, kBytesPerSample);
    }
  }
}

}  // namespace

bool TetherSource::HasRenderableAudio(const tether::Source& source) {
  if (!source.HasAudio()) return false;
  if (IsMixingHost(Crate::GetApplicationType())) return true;
  return source.GetAudioChannelLayout().size() != kPlaceholderChannelCount;
}

int32_t TetherSource::GetSampleRate(kilnmediatypes::FrameRate& out) {
  out = ToHostFrameRate(
      QuerySource([](const tether::Source& s) { return s.GetAudioSampleRate(); }, tether::kNoFrameRate));
  return 0;
}

RL::AudioChannelType TetherSource::GetAudioChannelType() {
  std::vector<kilnmediatypes::AudioChannelDescription> layout;
  GetAudioChannelLayout(layout);
  return RL::CreateAudioChannelType(layout);
}

uint32_t TetherSource::GetAudioChannelCount() {
  std::vector<kilnmediatypes::AudioChannelDescription> layout;
  GetAudioChannelLayout(layout);
  return static_cast<uint32_t>(layout.size());
}

int32_t TetherSource::GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) {
  out = ToHost(QuerySource([](const tether::Source& s) { return s.GetAudioChannelLayout(); },
                           std::vector<tether::AudioChannelLabel>()));
  return 0;
}

int32_t TetherSource::GetAudioSourceKind() { return 6; }

int32_t TetherSource::GetAudioMarkers(std::vector<AudioMarker>& out) {
  out.clear();
  return 0;
}

bool TetherSource::SequentialQueryA() { return false; }

bool TetherSource::SequentialQueryB() { return false; }

int32_t TetherSource::ReadAudio(int32_t context, AudioBuffer& buffer, TickTime position) {
  // Held over the waits: the reader's position and the block cache describe
  // one read at a time, and only another positional read waits for it.
  ScopedRecursiveLock readLock(mAudioReadMutex);

  int64_t nextFrame = 0;
  bool renderable = false;
  {
    ScopedRecursiveLock lock(mStateMutex);
    renderable = mSource && HasRenderableAudio(*mSource);
    nextFrame = mNextAudioFrame;
  }
  if (!renderable) {
    buffer.Zero();
    return 0;
  }

  {
    // A host that reads one block twice gets it without asking the server.
    ScopedRecursiveLock lock(mStateMutex);
    const auto cached = mAudioBlockCache.find(position);
    if (cached != mAudioBlockCache.end()) {
      buffer.CopyFrom(cached->second);
      return 0;
    }
  }

  kilnmediatypes::FrameRate sampleRate;
  GetSampleRate(sampleRate);
  const TickTime expected(nextFrame, sampleRate);

  int32_t result = 0;
  // The start is always read afresh, even from a reader that stands there.
  if (position != expected || position == kilnmediatypes::kTickTime_Zero) {
    static kilncore::debug::TraceSite site(kChannel, 10);
    if (site.Enabled()) site.Write("Audio reset to position: " + PositionText(position));
    result = ReadAudioBlock(context, buffer, true, position);
    // Emptied even when the reopening failed: the kept block belonged to the
    // reader that is gone.
    ScopedRecursiveLock lock(mStateMutex);
    mAudioBlockCache.clear();
  } else {
    static kilncore::debug::TraceSite site(kChannel, 10);
    if (site.Enabled()) site.Write("Reading audio for position: " + PositionText(position));
    result = static_cast<DR::ISequentialAudioSource*>(this)->ReadAudioSequential(context, buffer, false);
  }
  if (result < 0) return result;

  // Copied before the lock: the cache keeps its own samples, not the host's
  // arrays, which the host reuses.
  AudioBuffer kept(buffer);
  ScopedRecursiveLock lock(mStateMutex);
  if (mAudioBlockCache.size() == 1) mAudioBlockCache.clear();
  mAudioBlockCache.emplace(position, std::move(kept));
  return result;
}

int32_t TetherSource::ReadAudioSequential(int32_t context, AudioBuffer& buffer, bool reset) {
  return ReadAudioBlock(context, buffer, reset, kilnmediatypes::kTickTime_Zero);
}

int32_t TetherSource::ReadAudioBlock(int32_t, AudioBuffer& buffer, bool reset, TickTime position) {
  std::shared_ptr<tether::Source> source;
  bool renderable = false;
  {
    ScopedRecursiveLock lock(mStateMutex);
    source = mSource;
    renderable = source && HasRenderableAudio(*source);
  }
  if (!renderable) {
    buffer.Zero();
    return 0;
  }

  std::shared_ptr<tether::AudioRenderer> renderer;
  if (reset) {
    const int32_t opened = OpenAudioRenderer(*source, buffer.GetFrameCount(), position, renderer);
    if (opened < 0) return opened;
  } else {
    ScopedRecursiveLock lock(mStateMutex);
    renderer = mAudioRenderer;
  }
  // Closed at the end of the item, or never opened.
  if (!renderer) return kRenderFailed;

  std::shared_ptr<processcoordination::BinaryReference> block;
  const int32_t rendered = RenderAudioBlock(*renderer, block);
  if (rendered < 0) return rendered;
  if (!block) return kRenderFailed;

  const AddressUse use(*block);
  if (use.Bytes() == nullptr) return 0;
  const size_t size = block->GetSize();
  if (size != 0) {
    size_t channels = 0;
    {
      ScopedRecursiveLock lock(mStateMutex);
      channels = source->GetAudioChannelLayout().size();
    }
    // A partial frame at the end of a block is dropped.
    const size_t frames = channels == 0 ? 0 : size / (channels * kBytesPerSample);
    SpreadBlock(use.Bytes(), channels, frames, buffer);
    AdvanceAudioReader(static_cast<int64_t>(frames));
  }
  buffer.MarkFilled();
  return 0;
}

int32_t TetherSource::OpenAudioRenderer(tether::Source& source, uint32_t framesWanted, TickTime position,
                                        std::shared_ptr<tether::AudioRenderer>& outRenderer) {
  tether::AudioRenderOptions options;
  {
    ScopedRecursiveLock lock(mStateMutex);
    options.SetAudioChannelLayout(source.GetAudioChannelLayout());
    options.SetSampleRate(source.GetAudioSampleRate());
  }

  Request request;
  Guid requestID;
  AddRequest(request, requestID);
  // The server's blocks then hold as many frames as the host asks for at once.
  const auto blockSamples = static_cast<uint32_t>(options.GetAudioChannelLayout().size() * framesWanted);
  // The callback owns the promise: a library that drops the callback without
  // calling it breaks the promise, and the wait ends.
  auto opened = std::make_shared<std::shared_ptr<tether::AudioRenderer>>();
  source.GetAudioRenderer(
      [promise = std::move(request.promise), opened](tether::ConnectionStatus status,
                                                     const std::shared_ptr<tether::AudioRenderer>& renderer) {
        if (status != tether::kConnectionStatusOK) {
          promise.SetException(std::make_exception_ptr(
              kilncore::config::kiln_exception("CreateSynchronousAudioRenderer failed", kRenderFailed)));
          return;
        }
        if (renderer) *opened = renderer;
        promise.SetSuccess();
      },
      options, kilnmediatypes::TimeToRatioTime(position), blockSamples);
  const int32_t result = WaitForRequest(request, requestID);
  if (result < 0) return result;

  outRenderer = *opened;
  const kilnmediatypes::FrameRate sampleRate = ToHostFrameRate(options.GetSampleRate());
  ScopedRecursiveLock lock(mStateMutex);
  mAudioRenderer = outRenderer;
  mNextAudioFrame = position.ToFrame64(sampleRate);
  return result;
}

int32_t TetherSource::RenderAudioBlock(tether::AudioRenderer& renderer,
                                       std::shared_ptr<processcoordination::BinaryReference>& outBlock) {
  Request request;
  Guid requestID;
  AddRequest(request, requestID);
  auto delivered = std::make_shared<std::shared_ptr<processcoordination::BinaryReference>>();
  renderer.RenderAudio(
      [promise = std::move(request.promise), delivered](
          const Guid&, const std::shared_ptr<processcoordination::BinaryReference>& block, int status) {
        if (status != 0) {
          promise.SetException(std::make_exception_ptr(
              kilncore::config::kiln_exception("WaitForSynchronousAudioRender failed", kRenderFailed)));
          return;
        }
        *delivered = block;
        promise.SetSuccess();
      },
      Guid::CreateUnique());
  const int32_t result = WaitForRequest(request, requestID);
  if (result >= 0) outBlock = *delivered;
  return result;
}

void TetherSource::AdvanceAudioReader(int64_t frames) {
  std::shared_ptr<tether::AudioRenderer> closed;
  {
    ScopedRecursiveLock lock(mStateMutex);
    mNextAudioFrame += frames;
    TickTime duration;
    GetDuration(duration);
    kilnmediatypes::FrameRate sampleRate;
    GetSampleRate(sampleRate);
    const int64_t end = duration.ToFrame32(sampleRate);
    if (mNextAudioFrame >= end) {
      // The reader can't go past the end of the item: it is closed, and the
      // next read reopens it where the host asks.
      closed = std::move(mAudioRenderer);
      mAudioRenderer.reset();
      mNextAudioFrame = end;
    }
  }
  // `closed` lets go of the server's reader here, with no lock held.
}

int64_t TetherSource::GetNextAudioFrame() {
  ScopedRecursiveLock lock(mStateMutex);
  return mNextAudioFrame;
}

bool TetherSource::HasAudioRenderer() {
  ScopedRecursiveLock lock(mStateMutex);
  return mAudioRenderer != nullptr;
}

size_t TetherSource::GetAudioBlockCacheSize() {
  ScopedRecursiveLock lock(mStateMutex);
  return mAudioBlockCache.size();
}

}  // namespace TetherMedia
