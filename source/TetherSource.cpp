#include <source/TetherSource.h>

#include <source/MediaTypeConversions.h>

#include <RL/ColorSpaces.h>
#include <WF/CallbackInstanceIDMap.h>

#include <kilncore/classref/InterfaceName.h>
#include <kilnmediatypes/RatioTime.h>

#include <utility>

namespace TetherMedia {

using kilncore::threads::ScopedRecursiveLock;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

int32_t TetherSource::Create(kilncore::classref::InterfaceRef<TetherSource>& outSource,
                             std::shared_ptr<tether::Source> source, uint32_t clipID) {
  if (source) {
    const tether::ColorSpace& space = source->GetSourceInfo().colorSpace;
    if (!space.IsEmpty()) kilnmediatypes::color::AddColorSpaceToCache(ToHost(space));
  }
  outSource = std::make_shared<TetherSource>(ConstructionKey(), std::move(source), clipID);
  return 0;
}

TetherSource::TetherSource(ConstructionKey, std::shared_ptr<tether::Source> source, uint32_t clipID)
    : mSource(std::move(source)), mClipID(clipID) {}

TetherSource::~TetherSource() {
  // The host's table keeps each per-clip stream alive under its id; handing
  // the ids back lets the streams go with the source they were made of.
  for (const auto& [clipID, entry] : mClipStreams) WF::RemoveIDFromInstanceIDMap(entry.instanceID);
}

int32_t TetherSource::AdoptClipStream(uint32_t clipID,
                                      kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> stream) {
  const int32_t id = WF::CreateUniqueCallbackInstanceID(stream);
  const auto [entry, added] = mClipStreams.try_emplace(clipID);
  // The id of a replaced stream would otherwise keep that stream alive in
  // the host's table for the rest of the process.
  if (!added) WF::RemoveIDFromInstanceIDMap(entry->second.instanceID);
  entry->second = ClipStreamEntry{id, std::move(stream)};
  return id;
}

int32_t TetherSource::FindClipStreamInstanceID(uint32_t clipID) const {
  const auto found = mClipStreams.find(clipID);
  return found == mClipStreams.end() ? 0 : found->second.instanceID;
}

void* TetherSource::QueryMap(const std::string_view& name) {
  // The class's own name and RL::ISource both give the first interface.
  if (name == kilncore::classref::InterfaceNameOf<TetherSource>()) return static_cast<TetherSource*>(this);
  if (name == kilncore::classref::InterfaceNameOf<RL::ISource>()) return static_cast<RL::ISource*>(this);
  if (name == kilncore::classref::InterfaceNameOf<KL::IVideoSource>()) return static_cast<KL::IVideoSource*>(this);
  if (name == kilncore::classref::InterfaceNameOf<KL::IAsyncVideoSource>()) {
    return static_cast<KL::IAsyncVideoSource*>(this);
  }
  if (name == kilncore::classref::InterfaceNameOf<DR::IAudioSource>()) return static_cast<DR::IAudioSource*>(this);
  if (name == kilncore::classref::InterfaceNameOf<DR::ISequentialAudioSource>()) {
    return static_cast<DR::ISequentialAudioSource*>(this);
  }
  if (name == kilncore::classref::InterfaceNameOf<RL::IRenderableExtendedStillInfo>()) {
    return static_cast<RL::IRenderableExtendedStillInfo*>(this);
  }
  if (name == kilncore::classref::InterfaceNameOf<RL::ISmartRenderSegmentInfo>()) {
    return static_cast<RL::ISmartRenderSegmentInfo*>(this);
  }
  return nullptr;
}

// --- Configuration.

std::shared_ptr<tether::Source> TetherSource::CopySource() {
  ScopedRecursiveLock lock(mStateMutex);
  return mSource;
}

void TetherSource::SetSource(std::shared_ptr<tether::Source> source) {
  std::shared_ptr<tether::Source> previous;
  ScopedRecursiveLock lock(mStateMutex);
  previous = std::exchange(mSource, std::move(source));
  mAcceleratedDataDirty = true;
  mStillRangesDirty = true;
}

std::shared_ptr<tether::Source> TetherSource::GetSource() { return CopySource(); }

void TetherSource::SetUsePreviewFiles(bool use) {
  ScopedRecursiveLock lock(mStateMutex);
  if (mUsePreviewFiles.exchange(use) != use) mAcceleratedDataDirty = true;
}

void TetherSource::SetUseProxies(bool use) {
  ScopedRecursiveLock lock(mStateMutex);
  if (mUseProxies.exchange(use) != use) mAcceleratedDataDirty = true;
}

bool TetherSource::GetUsePreviewFiles() const { return mUsePreviewFiles.load(); }

bool TetherSource::GetUseProxies() const { return mUseProxies.load(); }

void TetherSource::SetRuntimeFontGuid(const Guid& fontGuid) {
  // Under the lock that the identifier reads it with: a frame identifier made
  // from half an old and half a new Guid would name pixels nobody rendered.
  ScopedRecursiveLock lock(mStateMutex);
  mRuntimeFontGuid = fontGuid;
}

kilncore::WideString TetherSource::GetName() {
  return QuerySource([](const tether::Source& s) { return s.GetName(); }, kilncore::WideString());
}

bool TetherSource::HasFrozenUnstretchableRegions() {
  return QuerySource([](const tether::Source& s) { return s.HasFrozenUnstretchableRegions(); }, false);
}

// --- RL::ISource

int32_t TetherSource::GetDuration(TickTime& outDuration) {
  outDuration = kilnmediatypes::RatioTimeToTime(
      QuerySource([](const tether::Source& s) { return s.GetDuration(); }, tether::RatioTime(0)));
  return 0;
}

int32_t TetherSource::GetTimeStretchFlags(uint32_t& outFlags) {
  outFlags = HasFrozenUnstretchableRegions() ? kFrozenUnstretchableRegionsFlag : 0;
  return 0;
}

int32_t TetherSource::GetSourceRef(kilncore::classref::InterfaceRef<RL::ISource>& outSource) {
  outSource = kilncore::classref::InterfaceRef<RL::ISource>(GetSharedFromThis(), static_cast<RL::ISource*>(this));
  return 0;
}

// --- KL::IVideoSource: the item's description and the constant answers of a
// linked source.

int32_t TetherSource::GetFrameRate(kilnmediatypes::FrameRate& out) {
  out = ToHostFrameRate(QuerySource([](const tether::Source& s) { return s.GetFrameRate(); }, tether::kNoFrameRate));
  return 0;
}

int32_t TetherSource::GetFrameSize(RL::RectT<int>& out) {
  out = ToHost(QuerySource([](const tether::Source& s) { return s.GetFrameSize(); }, tether::FrameRect()));
  return 0;
}

int32_t TetherSource::GetVideoKind() { return 1; }

int32_t TetherSource::GetVideoExtent(std::pair<int64_t, int64_t>& out) {
  out = {0, 0};
  return 0;
}

int32_t TetherSource::GetPixelAspectRatio(kilnmediatypes::PixelAspectRatio& out) {
  out = ToHost(
      QuerySource([](const tether::Source& s) { return s.GetPixelAspectRatio(); }, tether::PixelAspectRatio()));
  return 0;
}

bool TetherSource::VideoQueryA() { return false; }

kilnmediatypes::FieldType TetherSource::GetFieldType() {
  return ToHostFieldType(
      QuerySource([](const tether::Source& s) { return s.GetFieldType(); }, tether::FieldType{4}));
}

kilnmediatypes::FieldType TetherSource::GetNativeFieldType() {
  return ToHostFieldType(
      QuerySource([](const tether::Source& s) { return s.GetNativeFieldType(); }, tether::FieldType{4}));
}

bool TetherSource::VideoQueryB() { return false; }

int32_t TetherSource::GetAlphaKind() { return 1; }

bool TetherSource::VideoQueryC() { return false; }

bool TetherSource::HasMatteAlpha() { return GetAlphaKind() == 3; }

bool TetherSource::VideoQueryD() { return false; }

int32_t TetherSource::GetNativePixelFormats(std::vector<kilnmediatypes::PixelFormat>& out) {
  out = ToHost(QuerySource([](const tether::Source& s) { return s.GetNativePixelFormats(); },
                           std::vector<tether::PixelFormat>()));
  return 0;
}

void TetherSource::VideoNoOpA() {}

void TetherSource::SetSequenceTag(uint32_t tag) { mSequenceTag.store(tag); }

bool TetherSource::MatchesSequenceTag(uint32_t tag) { return mSequenceTag.load() == tag; }

bool TetherSource::GetAlternateIdentifier(Guid& out) {
  out = Guid();
  return false;
}

bool TetherSource::VideoQueryE() { return false; }

uint32_t TetherSource::GetSourceCode() { return kilnmediatypes::MakeFourCC('T', 'T', 'H', 'M'); }

int32_t TetherSource::GetSourceDescription(kilncore::WideString& out) {
  out.clear();
  return 0;
}

bool TetherSource::VideoQueryF() { return false; }

int32_t TetherSource::AttachFrameA(TickTime, const RL::FrameFormat&, Frame frame) {
  frame.Reset();
  return kNotOffered;
}

bool TetherSource::VideoQueryG() { return false; }

int32_t TetherSource::AttachFrameB(TickTime time, const RL::FrameFormat& format, Frame frame) {
  return AttachFrameA(time, format, std::move(frame));
}

bool TetherSource::VideoQueryH() { return false; }

bool TetherSource::VideoQueryI() { return false; }

int32_t TetherSource::VideoCountA() { return 0; }

int32_t TetherSource::GetVideoOffset(int64_t& out) {
  out = 0;
  return 0;
}

bool TetherSource::VideoQueryJ() { return true; }

int32_t TetherSource::SelectFrameFormatWithHint(TickTime time, RL::FrameFormat& inOutFormat, int32_t) {
  return SelectFrameFormat(time, inOutFormat);
}

int32_t TetherSource::GetDefaultIdentifier(Guid& out) {
  out = Guid();
  return 0;
}

bool TetherSource::VideoQueryK() { return false; }

int32_t TetherSource::GetVideoSpan(TimeSpan& out, TickTime, TickTime, bool& outFlag) {
  out = TimeSpan();
  outFlag = false;
  return 0;
}

int32_t TetherSource::GetVideoLabel(kilncore::utility::ImmutableString& out) {
  out = kilncore::utility::ImmutableString();
  return 0;
}

int32_t TetherSource::VideoCountB() { return 0; }

int32_t TetherSource::VideoCountC() { return 0; }

int32_t TetherSource::VideoCountD() { return 0; }

int32_t TetherSource::VideoCountE() { return 0; }

bool TetherSource::VideoQueryL() { return false; }

int32_t TetherSource::GetVideoFormatRecord(KL::VideoFormatRecord& out) {
  out.values = {VideoCountB(), VideoCountD(), VideoCountE(), 108, 108, VideoCountC(), 0};
  out.text.clear();
  return 0;
}

int32_t TetherSource::VideoCountF() { return 0; }

int32_t TetherSource::GetRuntimeFontGuid(Guid& out) {
  ScopedRecursiveLock lock(mStateMutex);
  out = mRuntimeFontGuid;
  return 0;
}

bool TetherSource::VideoQueryM() { return false; }

int32_t TetherSource::GetDefaultColorSpaceB(kilnmediatypes::color::ColorSpace& out) {
  out = kilnmediatypes::color::ColorSpace();
  return 0;
}

int32_t TetherSource::GetColorProfile(kilnmediatypes::ColorProfile& out) {
  out = kilnmediatypes::ColorProfile();
  return 0;
}

int32_t TetherSource::GetDefaultIdentifierB(Guid& out) {
  out = Guid();
  return 0;
}

bool TetherSource::VideoQueryN() { return false; }

// --- Colour.

bool TetherSource::IsColorManagedExternally() { return false; }

bool TetherSource::HasColorSpace() {
  return QuerySource([](const tether::Source& s) { return !s.GetSourceInfo().colorSpace.IsEmpty(); }, false);
}

int32_t TetherSource::GetColorSpace(kilnmediatypes::color::ColorSpace& out) {
  // The description is read without a lock: its reference stays valid for the
  // item's life.
  const std::shared_ptr<tether::Source> source = CopySource();
  out = source ? ToHost(source->GetSourceInfo().colorSpace) : kilnmediatypes::color::ColorSpace();
  return 0;
}

int32_t TetherSource::AppendColorSpaces(const RL::BinaryData&,
                                        std::vector<kilnmediatypes::color::ColorSpace>& inOut) {
  ScopedRecursiveLock lock(mStateMutex);
  if (IsColorManagedExternally() || HasColorSpace()) {
    kilnmediatypes::color::ColorSpace space;
    GetColorSpace(space);
    inOut.push_back(std::move(space));
  }
  return 0;
}

int32_t TetherSource::GetDefaultColorSpaceA(kilnmediatypes::color::ColorSpace& out) {
  out = kilnmediatypes::color::ColorSpace();
  return 0;
}

int32_t TetherSource::GetPreferredColorSpace(kilnmediatypes::color::ColorSpace& out) {
  std::vector<kilnmediatypes::color::ColorSpace> spaces;
  AppendColorSpaces(RL::BinaryData(), spaces);
  out = spaces.empty() ? RL::ColorSpaces::OR709 : spaces.front();
  return 0;
}

// --- KL::IAsyncVideoSource: the constant answers.

bool TetherSource::CanRenderAsync() { return true; }

int32_t TetherSource::RenderFrameAsyncAlias(TickTime time, const RL::FrameFormat& format,
                                            const RL::BinaryData& prefs) {
  return RenderFrameAsync(time, format, prefs);
}

void TetherSource::AsyncNoOpA() {}

void TetherSource::AsyncNoOpB() {}

// --- Observation.

size_t TetherSource::GetPendingRenderCount() {
  ScopedRecursiveLock lock(mStateMutex);
  return mPendingRenders.size();
}

size_t TetherSource::GetVideoRendererCount() {
  ScopedRecursiveLock lock(mStateMutex);
  return mVideoRenderers.size();
}

size_t TetherSource::GetOpenRequestCount() {
  ScopedRecursiveLock lock(mRequestMutex);
  return mRequests.size();
}

}  // namespace TetherMedia
