#include "ScriptedAudioRenderer.h"

#include <processcoordination/SharedMemoryBinaryReference.h>
#include <tether/testing/ScriptedSignals.h>

#include <algorithm>
#include <cstring>

namespace tether::testing {
namespace {

// floor(position * ticks per second / ticks per sample), in 128 bits so that
// long items can't overflow.
int64_t FrameAt(const RatioTime& position, FrameRate sampleRate) {
  if (sampleRate <= 0 || sampleRate == kNoFrameRate) {
    return 0;
  }
  const __int128 numerator = static_cast<__int128>(position.numerator()) * kTicksPerSecond;
  const __int128 denominator = static_cast<__int128>(position.denominator()) * sampleRate;
  __int128 frame = numerator / denominator;
  if ((numerator % denominator != 0) && ((numerator < 0) != (denominator < 0))) {
    --frame;
  }
  return static_cast<int64_t>(frame);
}

}  // namespace

ScriptedAudioRenderer::ScriptedAudioRenderer(std::weak_ptr<ScriptedBackend> backend, std::string sourceKey,
                                             const AudioRenderOptions& options, const RatioTime& position,
                                             uint32_t blockSamples, std::optional<size_t> blockBytes)
    : ScriptedObject(std::move(backend), std::move(sourceKey)),
      mChannels(std::max<uint32_t>(static_cast<uint32_t>(options.GetAudioChannelLayout().size()), 1)),
      mFramesPerBlock(blockBytes ? static_cast<int64_t>(*blockBytes / (sizeof(float) * mChannels))
                                 : std::max<int64_t>(blockSamples / mChannels, 1)),
      mBlockBytes(blockBytes.value_or(static_cast<size_t>(mFramesPerBlock) * mChannels * sizeof(float))),
      mNextFrame(FrameAt(position, options.GetSampleRate())) {}

void ScriptedAudioRenderer::RenderAudio(RenderCallback callback, const kilncore::utility::Guid& identifier) {
  auto ticket = Begin(Operation::kRenderAudio, Key(), JobArgs{identifier});
  std::shared_ptr<processcoordination::BinaryReference> block;
  if (ticket.behaviour.status == 0 || ticket.behaviour.keepResultOnFailure) {
    int64_t first = 0;
    {
      // A block the server fails to make doesn't move the reader on.
      std::lock_guard lock(mMutex);
      first = mNextFrame;
      mNextFrame += mFramesPerBlock;
    }
    // Whole samples only; the bytes of a partial one stay zero.
    const size_t samples = mBlockBytes / sizeof(float);
    auto memory = processcoordination::SharedMemoryBinaryReference::Create(mBlockBytes);
    for (size_t i = 0; i < samples; ++i) {
      const float sample = ScriptedAudioSample(first + static_cast<int64_t>(i / mChannels),
                                               static_cast<uint32_t>(i % mChannels));
      std::memcpy(memory->Data() + i * sizeof(float), &sample, sizeof(float));
    }
    block = memory;
  }
  Finish(ticket, Operation::kRenderAudio, Key(),
         [callback = std::move(callback), identifier, block](const Behaviour& behaviour) {
           callback(identifier, Pick(behaviour, block), behaviour.status);
         });
}

}  // namespace tether::testing
