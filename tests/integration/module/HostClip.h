#pragma once

#include <DR/IAudioSource.h>
#include <KL/IAsyncVideoSource.h>
#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <RL/BinaryData.h>
#include <RL/FrameFormat.h>

#include <tether/MarlRenderOptions.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <cstdint>

namespace TetherMedia::integration {

// One clip as the host holds it: the item it imported through the module's
// import entry, the prefs blob the import handed back (the media opaque data,
// which the host passes with every later request), and the item's streams.
class HostClip {
 public:
  // Imports item `id` of the project file at `path`, with `options` as the
  // clip's render options (none when left at their defaults).
  HostClip(const kilncore::WideString& path, const kilncore::utility::Guid& id,
           const tether::MarlRenderOptions* options = nullptr);
  // A clip of an item that the host opened on another road (a remote asset),
  // with the prefs and the result that opening gave.
  HostClip(kilncore::classref::InterfaceRef<KL::IMediaInfo> item, RL::BinaryData prefs, int32_t result);

  int32_t ImportResult() const { return mImportResult; }
  const kilncore::classref::InterfaceRef<KL::IMediaInfo>& Item() const { return mItem; }
  const RL::BinaryData& Prefs() const { return mPrefs; }

  // The streams, as the host asks for them; null if the item gives none.
  kilncore::classref::InterfaceRef<KL::IVideoSource> Video() const;
  kilncore::classref::InterfaceRef<KL::IAsyncVideoSource> AsyncVideo() const;
  kilncore::classref::InterfaceRef<DR::IAudioSource> Audio() const;

  // `wanted` as the video stream settles it for `time`.
  RL::FrameFormat Select(kilnmediatypes::TickTime time, RL::FrameFormat wanted) const;
  // The identifier of the frame at `time` in `format` with this clip's prefs.
  kilncore::utility::Guid FrameIdentifier(kilnmediatypes::TickTime time, const RL::FrameFormat& format) const;

 private:
  kilncore::classref::InterfaceRef<RL::ISource> Stream(const kilncore::utility::Guid& mediaType) const;

  RL::BinaryData mPrefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> mItem;
  int32_t mImportResult = -1;
};

// A progressive frame of `pixelFormat`, `width` by `height` (0 for the native
// size), square pixels.
RL::FrameFormat WantedFormat(kilnmediatypes::PixelFormat pixelFormat, int32_t width = 0, int32_t height = 0);

}  // namespace TetherMedia::integration
