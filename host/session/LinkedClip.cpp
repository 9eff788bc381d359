#include <host/session/LinkedClip.h>

#include <host/cli/HostError.h>
#include <host/cli/Interruption.h>
#include <host/session/HostProjectListing.h>
#include <host/session/ServerLossWatch.h>

#include <ProjectXML/ProjectXMLError.h>

#include <tether/ServerFailure.h>

#include <KL/IMediaFile.h>
#include <KL/IMediaMetaData.h>
#include <RL/MediaType.h>
#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/Prefs.h>
#include <TetherMedia/ProjectEnumeration.h>
#include <kilncore/string/UTFConversion.h>

#include <optional>

namespace tetherhost {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::string::UTF16to8;
using kilncore::string::UTF8to16;

constexpr int32_t kFileMissing = static_cast<int32_t>(0xA00F0003u);
constexpr int32_t kNothingToImport = static_cast<int32_t>(0xA00F000Eu);
constexpr int32_t kUserCancelled = static_cast<int32_t>(0xA00F0007u);

// The host's select-source dialog, without a dialog: the composition named by
// `wanted` (its name or identifier), or the first one. Keeps why it found
// none, for the message the host shows.
class ItemPicker {
 public:
  explicit ItemPicker(std::string wanted) : mWanted(std::move(wanted)) {}

  int Select(kilncore::WideString& path, kilncore::utility::Guid& sourceID) {
    const kilncore::utility::Guid wantedID(mWanted);
    const std::filesystem::path file(UTF16to8(path));
    // A Final Cut Pro XML file links its first sequence whatever is asked, so
    // an identifier of another is refused here rather than ignored there.
    if (std::filesystem::exists(file) && (HostProjectListing::IsFinalCutXML(file) ||
                                          (wantedID.IsNil() && HostProjectListing::IsHostProject(file)))) {
      return SelectSequence(path, sourceID);
    }
    ServerLossWatch::WatchListing(true);
    const std::vector<tether::ItemInfo> items = TetherMedia::GetCompsInfoForMarlp(path);
    ServerLossWatch::WatchListing(false);
    if (Interruption::Requested()) {
      mInterruption = "interrupted while the server listed the compositions of " + UTF16to8(path) +
                      "; nothing was imported";
      return kUserCancelled;
    }
    if (items.empty() && !wantedID.IsNil() && std::filesystem::exists(std::filesystem::path(UTF16to8(path)))) {
      // Only Marl projects list their items here; an item of another owner (a
      // host project's sequence) is linked by its identifier, as a host does
      // for a clip it already has, and its server says whether it exists.
      // The listing's failure ("not a project of the Marl family") is not the
      // import's: left standing, it would read as the reason of whatever
      // fails next.
      tether::ClearLastServerFailure();
      sourceID = wantedID;
      return 0;
    }
    if (items.empty()) {
      const bool exists = std::filesystem::exists(std::filesystem::path(UTF16to8(path)));
      mReason = exists ? "no composition could be listed in " + UTF16to8(path) +
                             " (the server could not open it, or it holds none)"
                       : "no such file: " + UTF16to8(path);
      return exists ? kNothingToImport : kFileMissing;
    }
    const std::optional<tether::ItemInfo> chosen = Choose(items);
    if (!chosen) {
      mReason = "no composition named '" + mWanted + "' in " + UTF16to8(path);
      return kNothingToImport;
    }
    sourceID = chosen->id;
    return 0;
  }

  const std::string& reason() const { return mReason; }
  // What the user's Ctrl-C stopped, if it stopped the listing.
  const std::string& interruption() const { return mInterruption; }

 private:
  // A host project or Final Cut Pro XML file: the host reads its sequences
  // itself, as `tetherhost list` shows them.
  int SelectSequence(const kilncore::WideString& path, kilncore::utility::Guid& sourceID) {
    try {
      const HostProjectListing listing(UTF16to8(path));
      const ProjectXML::Item* sequence = listing.ChooseSequence(mWanted, mReason);
      if (!sequence) {
        mReason += " in " + UTF16to8(path);
        return kNothingToImport;
      }
      sourceID = sequence->id;
      return 0;
    } catch (const ProjectXML::ProjectXMLError& error) {
      mReason = error.what();
      return kNothingToImport;
    }
  }

  std::optional<tether::ItemInfo> Choose(const std::vector<tether::ItemInfo>& items) const {
    if (mWanted.empty()) return items.front();
    const kilncore::utility::Guid asID(mWanted);
    for (const tether::ItemInfo& item : items) {
      if (UTF16to8(item.name) == mWanted || (!asID.IsNil() && item.id == asID)) return item;
    }
    return std::nullopt;
  }

  std::string mWanted;
  std::string mReason;
  std::string mInterruption;
};

}  // namespace

LinkedClip::LinkedClip(InterfaceRef<KL::IMediaInfo> item, RL::BinaryData prefs)
    : mItem(std::move(item)), mPrefs(std::move(prefs)) {}

LinkedClip LinkedClip::Import(WF::IMediaModule& module, const std::filesystem::path& path,
                              const std::string& item) {
  auto picker = std::make_shared<ItemPicker>(item);
  TetherMedia::SetSelectSource(
      [picker, &module](kilncore::WideString& selectedPath, kilncore::utility::Guid& sourceID) {
        const int picked = picker->Select(selectedPath, sourceID);
        // From here the module waits for this item: Ctrl-C cancels that wait.
        if (picked == 0) ServerLossWatch::WatchImport(module, selectedPath, sourceID);
        return picked;
      });
  InterfaceRef<KL::IMediaInfo> result;
  RL::BinaryData prefs;
  bool prefsChanged = false;
  const int code = module.ImportFile(result, UTF8to16(path.string()), 0, 0, prefs, prefsChanged,
                                     /*hasPrefs=*/false, /*allowUserInterface=*/true, u"", 0, nullptr, 0,
                                     nullptr);
  ServerLossWatch::UnwatchImport();
  TetherMedia::SetSelectSource({});
  if (code < 0) {
    if (!picker->interruption().empty()) throw Interrupted(picker->interruption());
    if (Interruption::Requested()) {
      throw Interrupted("interrupted while the server opened " + path.string() + "; the import was cancelled");
    }
    if (!picker->reason().empty()) throw HostError(picker->reason(), code);
    throw HostError("import of " + path.string() + " failed", code);
  }
  if (!result) throw HostError("import of " + path.string() + " gave no item");
  return LinkedClip(std::move(result), std::move(prefs));
}

LinkedClip LinkedClip::Adopt(InterfaceRef<KL::IMediaInfo> item, RL::BinaryData prefs) {
  if (!item) throw HostError("the import gave no item");
  return LinkedClip(std::move(item), std::move(prefs));
}

LinkedClip LinkedClip::Import(WF::IMediaModule& module, const std::filesystem::path& path, const std::string& item,
                              const std::string& renderOptions) {
  if (renderOptions.empty()) return Import(module, path, item);
  ItemPicker picker(item);
  kilncore::WideString selectedPath = UTF8to16(path.string());
  kilncore::utility::Guid sourceID;
  const int picked = picker.Select(selectedPath, sourceID);
  if (picked < 0) throw HostError(picker.reason(), picked);
  RL::BinaryData prefs = TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(
      UTF8to16(sourceID.AsUTF8String()), UTF8to16(renderOptions));
  InterfaceRef<KL::IMediaInfo> result;
  bool prefsChanged = false;
  const int code = module.ImportFile(result, UTF8to16(path.string()), 0, 0, prefs, prefsChanged,
                                     /*hasPrefs=*/true, /*allowUserInterface=*/true, u"", 0, nullptr, 0, nullptr);
  if (code < 0) throw HostError("import of " + path.string() + " failed", code);
  if (!result) throw HostError("import of " + path.string() + " gave no item");
  return LinkedClip(std::move(result), std::move(prefs));
}

void LinkedClip::SetRenderOptions(const tether::MarlRenderOptions& options) {
  mPrefs = TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(TetherMedia::PrefsToSourceIDAsString(mPrefs),
                                                                       options.AsString());
}

InterfaceRef<RL::ISource> LinkedClip::Stream(const kilncore::utility::Guid& mediaType) const {
  InterfaceRef<RL::ISource> stream;
  // The frame rate a host passes is that of the sequence the clip goes into;
  // this host has none, so it passes the item's own.
  kilnmediatypes::FrameRate rate;
  if (const InterfaceRef<KL::IVideoSource> video = mItem->GetStream(RL::kMediaType_Video, 0)) {
    video->GetFrameRate(rate);
  }
  const int32_t code = mItem->CreateSourceForStream(mediaType, 0, mPrefs, rate, u"", u"", u"", u"", stream);
  HostError::ThrowIfFailed(code, mediaType == RL::kMediaType_Video ? "opening the video stream"
                                                                   : "opening the audio stream");
  ServerLossWatch::Watch(stream);
  return stream;
}

InterfaceRef<KL::IVideoSource> LinkedClip::VideoStream() const {
  InterfaceRef<KL::IVideoSource> video(Stream(RL::kMediaType_Video));
  if (!video) throw HostError("the item has no video stream");
  return video;
}

InterfaceRef<DR::IAudioSource> LinkedClip::AudioStream() const {
  if (mItem->GetNumStreams(RL::kMediaType_Audio) == 0) return nullptr;
  return InterfaceRef<DR::IAudioSource>(Stream(RL::kMediaType_Audio));
}

ClipDescription LinkedClip::Describe() const {
  ClipDescription out;
  out.displayName = UTF16to8(mItem->GetMediaDisplayName());
  out.sourceID = TetherMedia::PrefsToSourceID(mPrefs);
  out.videoStreams = mItem->GetNumStreams(RL::kMediaType_Video);
  out.audioStreams = mItem->GetNumStreams(RL::kMediaType_Audio);
  if (const InterfaceRef<KL::IMediaMetaData> metadata{mItem}) out.timeDisplay = metadata->GetTimeDisplay().GetType();
  if (const InterfaceRef<KL::IMediaFile> file{mItem}) out.contentState = file->GetContentState();

  const InterfaceRef<KL::IVideoSource> video = mItem->GetStream(RL::kMediaType_Video, 0);
  if (!video) return out;
  video->GetFrameRate(out.frameRate);
  if (const InterfaceRef<RL::ISource> source{video}) source->GetDuration(out.duration);
  if (out.frameRate.HasRate()) out.frameCount = out.duration.ToFrame64(out.frameRate);
  RL::RectT<int> bounds;
  video->GetFrameSize(bounds);
  out.width = bounds.Width();
  out.height = bounds.Height();
  kilnmediatypes::PixelAspectRatio ratio;
  video->GetPixelAspectRatio(ratio);
  out.pixelAspectNumerator = ratio.numerator;
  out.pixelAspectDenominator = ratio.denominator;
  out.fieldType = video->GetFieldType();
  if (const InterfaceRef<DR::IAudioSource> audio{video}; audio && out.audioStreams > 0) {
    kilnmediatypes::FrameRate sampleLength;
    audio->GetSampleRate(sampleLength);
    if (sampleLength.HasRate()) {
      out.sampleRate = static_cast<int32_t>(kilnmediatypes::kTicksPerSecond / sampleLength.GetTicksPerFrame());
    }
    out.audioChannels = audio->GetAudioChannelCount();
  }
  return out;
}

RL::FrameFormat WantedFormat(KL::IVideoSource& video, kilnmediatypes::TickTime time,
                             kilnmediatypes::PixelFormat pixelFormat, int32_t width, int32_t height) {
  RL::FrameFormat format;
  RL::RectT<int> bounds;
  video.GetFrameSize(bounds);
  format.pixelFormat = pixelFormat;
  format.width = width > 0 ? width : bounds.Width();
  format.height = height > 0 ? height : bounds.Height();
  video.GetPixelAspectRatio(format.pixelAspectRatio);
  format.fieldType = video.GetFieldType();
  // An export wants every frame at full quality.
  format.renderQuality = 3;
  HostError::ThrowIfFailed(video.SelectFrameFormat(time, format), "choosing the frame format");
  return format;
}

}  // namespace tetherhost
