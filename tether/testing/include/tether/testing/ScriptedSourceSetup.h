#pragma once

#include <tether/CaptionData.h>
#include <tether/MediaTypes.h>
#include <tether/SourceInfo.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <optional>
#include <string>

namespace tether::testing {

// What a scripted source answers.
//
// The getters answer from `info`, as a real source answers from its server's
// description: GetName from name, GetID from sourceID, GetContentState from
// contentState, GetParentProjectFile from file, GetFrameSize is
// (0, 0, width, height), GetDuration from duration, and so on member by member
// (see ScriptedSource in the double's sources). Source::Init replaces `info`,
// so the getters follow a patched description.
struct ScriptedSourceSetup {
  SourceInfo info;
  // GetNativeFieldType; when empty it answers info.fieldType.
  std::optional<FieldType> nativeFieldType;
  // RenderXMP's packet.
  std::string xmp;
  CaptionData captionData;
  // The flag given to SetCaptionSelectionData's callback.
  bool captionSelectionResult = true;
  // DoesSourceContainLink's answer.
  bool containsLink = false;
  // GetRuntimeGuid's answer.
  kilncore::utility::Guid runtimeGuid;
  // Size of each rendered frame in bytes (see ScriptedSignals.h for the bytes).
  size_t frameBytes = 64;
  // Size of each audio block in bytes. When empty, a block holds the frames
  // that the renderer was asked for (blockSamples / channels, at least one).
  // A set size may end in a partial frame: the block then holds as many
  // samples as fit whole, in interleaved order, zero bytes after them, and the
  // renderer moves on by the whole frames only. See ScriptedSignals.h for the
  // samples.
  std::optional<size_t> audioBlockBytes;

  // A typical item: 1920 x 1080 square pixels, 24 fps progressive, 10 seconds,
  // stereo audio at 48 kHz, a BGRA native format, named "Item", with a fixed
  // non-nil content state. It is what unregistered keys get.
  static ScriptedSourceSetup Typical();
};

}  // namespace tether::testing
