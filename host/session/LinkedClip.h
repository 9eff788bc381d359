#pragma once

#include <DR/IAudioSource.h>
#include <KL/IAsyncVideoSource.h>
#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <RL/BinaryData.h>
#include <RL/FrameFormat.h>
#include <RL/ISource.h>
#include <WF/IMediaModule.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Guid.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>
#include <tether/MarlRenderOptions.h>

#include <filesystem>
#include <string>

namespace tetherhost {

// What the host shows of a linked clip: the answers of the item and of its
// video stream, as a host's project panel would list them.
struct ClipDescription {
  std::string displayName;
  kilncore::utility::Guid sourceID;
  kilnmediatypes::TickTime duration;
  kilnmediatypes::FrameRate frameRate;
  int64_t frameCount = 0;
  int32_t width = 0;
  int32_t height = 0;
  int32_t pixelAspectNumerator = 1;
  int32_t pixelAspectDenominator = 1;
  int32_t fieldType = 0;
  int32_t timeDisplay = 0;
  size_t videoStreams = 0;
  size_t audioStreams = 0;
  int32_t sampleRate = 0;
  uint32_t audioChannels = 0;
  kilncore::utility::Guid contentState;
};

// One clip of a linked item, imported through the module as a host imports a
// new clip: ImportFile without prefs, the item picked by the select-source
// callback, and the prefs blob that comes back kept for every later request.
class LinkedClip {
 public:
  // Imports `path`. `item` picks the composition by name or by identifier;
  // empty picks the project's first. Throws HostError with the module's code
  // (or the host's own reason, such as an item that isn't in the project).
  static LinkedClip Import(WF::IMediaModule& module, const std::filesystem::path& path, const std::string& item);
  // The clip of an item that the host opened by another road (a remote asset
  // opened by its request), with the prefs that came back.
  static LinkedClip Adopt(kilncore::classref::InterfaceRef<KL::IMediaInfo> item, RL::BinaryData prefs);
  // The same, for a clip that already has `renderOptions` (the owner's JSON
  // text) in its prefs, as a clip made with settings is imported again: the
  // item is picked first, and the module opens it with the options (a Sprocket
  // source-type project gets them when it opens).
  static LinkedClip Import(WF::IMediaModule& module, const std::filesystem::path& path, const std::string& item,
                           const std::string& renderOptions);

  // Replaces the clip's render options (guide layers, down-sampling, ...), as
  // the render settings of a clip do; streams made afterwards use them.
  void SetRenderOptions(const tether::MarlRenderOptions& options);

  ClipDescription Describe() const;

  // The video stream, as the importer layer hands it to the host's player.
  kilncore::classref::InterfaceRef<KL::IVideoSource> VideoStream() const;
  // The audio stream, the importer layer's source around the item's stream;
  // null when the item has no audio.
  kilncore::classref::InterfaceRef<DR::IAudioSource> AudioStream() const;

  const RL::BinaryData& Prefs() const { return mPrefs; }
  const kilncore::classref::InterfaceRef<KL::IMediaInfo>& Item() const { return mItem; }

 private:
  LinkedClip(kilncore::classref::InterfaceRef<KL::IMediaInfo> item, RL::BinaryData prefs);
  kilncore::classref::InterfaceRef<RL::ISource> Stream(const kilncore::utility::Guid& mediaType) const;

  kilncore::classref::InterfaceRef<KL::IMediaInfo> mItem;
  RL::BinaryData mPrefs;
};

// The format the host asks for: the stream's own size unless `width` and
// `height` are given, square pixels or the native ratio, progressive or the
// native field order, in `pixelFormat`; settled by SelectFrameFormat at `time`.
RL::FrameFormat WantedFormat(KL::IVideoSource& video, kilnmediatypes::TickTime time,
                             kilnmediatypes::PixelFormat pixelFormat, int32_t width = 0, int32_t height = 0);

}  // namespace tetherhost
