// How the host gets something to pull media from: the stream object itself for
// video, and for audio an audio source of the importer layer around it, shared
// through the host's audio pool.

#include <mediainfo/BaseMediaInfo.h>

#include <Crate/ApplicationType.h>
#include <DR/IAudioSource.h>
#include <FarsideCL/AssetName.h>
#include <KL/FarsideAvailability.h>
#include <RL/MediaType.h>
#include <Sill/PathUtils.h>
#include <WF/AudioSourceImpl.h>
#include <WF/AudioSourcePool.h>
#include <WF/ConformedAudioSourceFile.h>
#include <WF/FileOpenExclusion.h>
#include <WF/ImportedAudioSource.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/FileUtils.h>

#include <string>
#include <vector>

namespace TetherMedia {
namespace {

using kilncore::WideString;
using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

// Only these hosts can play an item's audio straight from its source; every
// other host needs the audio conformed.
constexpr int32_t kImportingHostA = 8;
constexpr int32_t kImportingHostB = 11;

// The length of the stream, which is part of the audio pool's key. A stream
// object that isn't an RL::ISource is a null-reference failure.
TickTime StreamDuration(const InterfaceRef<KL::IVideoSource>& stream) {
  TickTime duration;
  InterfaceRef<RL::ISource>(stream)->GetDuration(duration);
  return duration;
}

// What the importer layer calls the audio of this item. A remote asset's path
// is a JSON name, which would make a poor label; its item name says it all.
WideString ConformName(const WideString& filePath, const WideString& filePart,
                       const WideString& sourceName, const std::string& extension) {
  if (KL::IsFarsideClientAvailable() && FarsideCL::AssetName::CreateFromString(filePath).IsValid()) {
    return sourceName;
  }
  return filePart + u" " + sourceName + kilncore::string::UTF8to16(extension);
}

// Whether a new audio source must be conformed rather than imported. A
// caller's conform request always wins; otherwise only the hosts that can
// import audio look at the item's own wish to be conformed.
bool NeedsConformedAudio(const WideString& conformRequest, bool forceConform) {
  if (!conformRequest.empty()) return true;
  const int32_t host = Crate::GetApplicationType();
  if (host != kImportingHostA && host != kImportingHostB) return true;
  return forceConform;
}

}  // namespace

int32_t BaseMediaInfo::CreateSourceForStream(Guid mediaType, size_t streamIndex,
                                             const RL::BinaryData& prefs,
                                             const kilnmediatypes::FrameRate& frameRate,
                                             const WideString& conformRequest,
                                             const WideString& /*reservedPath*/,
                                             const WideString& conformPathA,
                                             const WideString& conformPathB,
                                             InterfaceRef<RL::ISource>& outSource) const {
  if (mediaType == RL::kMediaType_Video) {
    outSource = InterfaceRef<RL::ISource>(mVideoSource);
    return 0;
  }
  if (mediaType != RL::kMediaType_Audio) return 0;

  // Gathered in this order on purpose: an item without a stream object fails
  // on its name before anything is asked of the stream.
  const Guid contentState = static_cast<const KL::IMediaFile*>(this)->GetContentState();
  const Guid documentID = GetDocumentID();
  const WideString filePath = GetFilePath();
  const std::string extension = kilncore::utility::FileUtils::GetPathExtension(filePath, true);
  const WideString filePart = Sill::PathUtils::GetFilePart(filePath);
  const WideString sourceName = GetSourceName();

  const InterfaceRef<KL::IVideoSource> stream = mVideoSource;
  const InterfaceRef<DR::IAudioSource> audioSource(stream);
  std::vector<kilnmediatypes::AudioChannelDescription> channelLayout;
  audioSource->GetAudioChannelLayout(channelLayout);

  const WideString conformName = ConformName(filePath, filePart, sourceName, extension);

  // Two clips of one item asking at once must not both miss in the pool and
  // build two sources: the look and the addition happen under one exclusion.
  const Wharf::FileOpenExclusion exclusion(filePath);
  const InterfaceRef<WF::AudioSourcePool> pool = WF::AudioSourcePool::Create();
  WF::AudioSourcePool& poolRef = *pool;

  const InterfaceRef<WF::AudioSourceImpl> pooled =
      poolRef.FindAudioSource(filePath, documentID, streamIndex, frameRate, StreamDuration(stream),
                              contentState, prefs, channelLayout);
  if (pooled) {
    outSource = InterfaceRef<RL::ISource>(pooled);
    return 0;
  }

  const kilncore::utility::ImmutableString stationID = GetStationID();
  int32_t code = 0;
  if (NeedsConformedAudio(conformRequest, mForceConform)) {
    const InterfaceRef<DR::IAudioSource> conformed = WF::ConformedAudioSourceFile::Create(
        audioSource, prefs, frameRate, conformName, contentState, documentID, filePath, 0,
        conformPathA, conformPathB, stationID);
    outSource = InterfaceRef<RL::ISource>(conformed);
  } else {
    InterfaceRef<DR::IAudioSource> imported;
    code = WF::ImportedAudioSource::Create(audioSource, prefs, frameRate, imported, conformName,
                                           contentState, documentID, filePath, 0, conformPathA,
                                           conformPathB, stationID, false, false);
    if (code < 0) return code;
    outSource = InterfaceRef<RL::ISource>(imported);
  }

  if (outSource) {
    poolRef.AddAudioSource(InterfaceRef<WF::AudioSourceImpl>(outSource), documentID, streamIndex,
                           frameRate, StreamDuration(stream), contentState, prefs);
  }
  return code;
}

}  // namespace TetherMedia
