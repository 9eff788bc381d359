#pragma once

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>

namespace tether::testing {

// The bytes of scripted frames and the samples of scripted audio, so that
// tests can check what reached them without keeping copies.

// Byte `index` of the frame rendered as job `identifier`: byte (index % 16) of
// the identifier's text-order bytes (Guid::GuidToBytes), XOR the low 8 bits of
// index / 16.
uint8_t ScriptedFrameByte(const kilncore::utility::Guid& identifier, size_t index);

// Fills `size` bytes with the frame of job `identifier`.
void FillScriptedFrame(uint8_t* bytes, size_t size, const kilncore::utility::Guid& identifier);

// The sample of channel `channel` at absolute sample frame `frame` (counted
// from the start of the item): ((frame mod 4096) * 16 + (channel mod 16)) /
// 65536, exact in float and in [0, 1). Frames before 0 count from 0.
//
// A scripted audio renderer opened at `position` starts at frame
// floor(position * kTicksPerSecond / sampleRate) (0 without a sample rate) and
// each RenderAudio hands out the next blockSamples / channels frames (at least
// one), interleaved: frame after frame, the channels of one frame in layout
// order. ScriptedSourceSetup::audioBlockBytes sets another block size.
float ScriptedAudioSample(int64_t frame, uint32_t channel);

}  // namespace tether::testing
