#pragma once

#include "ScriptedObject.h"

#include <tether/AudioRenderOptions.h>
#include <tether/AudioRenderer.h>
#include <tether/MediaTypes.h>

#include <cstdint>
#include <mutex>
#include <optional>

namespace tether::testing {

// An audio renderer of the double: hands out blocks of ScriptedAudioSample,
// from the frame it was opened at, one block after the other.
class ScriptedAudioRenderer : public AudioRenderer, protected ScriptedObject {
 public:
  // `blockBytes`, when set, is the size of every block (ScriptedSourceSetup).
  ScriptedAudioRenderer(std::weak_ptr<ScriptedBackend> backend, std::string sourceKey,
                        const AudioRenderOptions& options, const RatioTime& position, uint32_t blockSamples,
                        std::optional<size_t> blockBytes = std::nullopt);

  void RenderAudio(RenderCallback callback, const kilncore::utility::Guid& identifier) override;

 private:
  const uint32_t mChannels;
  const int64_t mFramesPerBlock;
  // The bytes of a block: the frames per block in full, or the set size.
  const size_t mBlockBytes;
  std::mutex mMutex;
  int64_t mNextFrame;
};

}  // namespace tether::testing
