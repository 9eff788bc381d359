#include <mediainfo/BaseMediaInfo.h>

#include <mediainfo/TetherProgress.h>
#include <ui/MarlRenderSettingsDialog.h>

#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/Prefs.h>

#include <RL/MediaType.h>
#include <WF/ImportableFileTypeUtils.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/logging/Log.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilnmediatypes/RatioTime.h>

#include <tether/MarlRenderOptions.h>

#include <boost/bind/bind.hpp>

#include <array>
#include <cstring>
#include <exception>
#include <utility>

namespace TetherMedia {
namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);
constexpr int32_t kNotOffered = static_cast<int32_t>(0xA00F000Cu);

// The time display that the library falls back to for rates it doesn't know.
// It is also the real display of 29.97 drop-frame, which must stay one.
constexpr kilnmediatypes::TimeDisplayType kFallbackTimeDisplay = 102;
constexpr int64_t kNTSCFrameTicks = 8475667200;

void FailPromise(const kilncore::async::Promise<void>& promise, const char* text, int32_t code) {
  promise.SetException(std::make_exception_ptr(kilncore::config::kiln_exception(text, code)));
}

bool NameIs(std::string_view name, std::string_view candidate) {
  return name.size() == candidate.size() &&
         std::memcmp(name.data(), candidate.data(), name.size()) == 0;
}

}  // namespace

BaseMediaInfo::BaseMediaInfo(bool constructorFlag) : mConstructorFlag(constructorFlag) {}

BaseMediaInfo::~BaseMediaInfo() {
  // The stream object and the source go first, while every other member is
  // still intact, since either may call back into the item as it goes.
  mVideoSource = nullptr;
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  mSource.reset();
}

std::shared_ptr<tether::Source> BaseMediaInfo::GetSourceSnapshot() const {
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  return mSource;
}

// ---- KL::IMediaInfo

size_t BaseMediaInfo::GetNumStreams(Guid mediaType) const {
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  if (!mSource) return 0;
  if (mediaType == RL::kMediaType_Audio && mSource->HasAudio()) return 1;
  if (mediaType == RL::kMediaType_Video && mSource->HasVideo()) return 1;
  return 0;
}

kilncore::classref::InterfaceRef<RL::ISource> BaseMediaInfo::GetStream(Guid mediaType,
                                                                       size_t /*index*/) const {
  if (mediaType != RL::kMediaType_Video && mediaType != RL::kMediaType_Audio) return nullptr;
  return kilncore::classref::InterfaceRef<RL::ISource>(mVideoSource);
}

size_t BaseMediaInfo::GetNumStreamGroups() const { return 1; }

void BaseMediaInfo::GetStreamGroupIndices(size_t /*group*/, size_t& a, size_t& b, size_t& c) {
  a = 0;
  b = 0;
  c = 0;
}

void BaseMediaInfo::SetMediaHint(bool /*hint*/) {}

Guid BaseMediaInfo::GetImplementationID() const { return GetTetherImplementationID(); }

kilncore::WideString BaseMediaInfo::GetInstanceString() const { return GetFilePath(); }

kilncore::WideString BaseMediaInfo::GetMediaProducerDescription() const {
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  if (!mSource) return {};
  return const_cast<BaseMediaInfo*>(this)->GetSourceInfo().producerDescription;
}

kilncore::utility::ImmutableString BaseMediaInfo::GetStationID() const {
  return mStation.GetStationID();
}

void BaseMediaInfo::GetModificationState(RL::BinaryData& out) const {
  // The object's own bytes, not the text order: hosts compare stored states
  // byte for byte with what earlier versions wrote.
  const Guid state = static_cast<const KL::IMediaFile*>(this)->GetContentState();
  out = RL::BinaryData(&state, sizeof(state));
}

void BaseMediaInfo::MediaInfoNoOpA() {}

bool BaseMediaInfo::HasSetup() const {
  return WF::ImportableFileTypeUtils::IsMarlProject(mFilePath, false);
}

bool BaseMediaInfo::CanValidatePrefs() const { return false; }

bool BaseMediaInfo::SetupOnDoubleClick() const { return false; }

int32_t BaseMediaInfo::OpenPreferences(
    RL::BinaryData& prefs, std::map<kilncore::WideString, kilncore::WideString>& /*settings*/,
    size_t /*reservedA*/, kilncore::classref::InterfaceRef<KL::ISequence> /*sequence*/,
    const TickTime& /*reservedTime*/, size_t /*reservedB*/, kilncore::WideString& /*outReserved*/) {
  // A blob too short to hold a source identifier has no options to edit, and
  // the prefs readers must not see it.
  constexpr size_t kSourceIDBytes = 36 * sizeof(kilncore::WideChar);
  if (prefs.GetSize() < kSourceIDBytes) return 0;
  const kilncore::WideString text = PrefsToApplicationSpecificRenderOptions(prefs);
  if (text.empty() || !WF::ImportableFileTypeUtils::IsMarlProject(mFilePath, false)) return 0;
  tether::MarlRenderOptions options;
  int32_t result = 0;
  try {
    ApplicationSpecificRenderOptionsToMarlRenderOptions(text, options);
    result = ShowMarlRenderSettingsDialog(options);
  } catch (...) {
    // The host gets a code, never an exception: options it can't read or a
    // layout the dialog can't use end here, with the blob as it was.
    kilncore::logging::LogException(std::current_exception(), "BaseMediaInfo::OpenPreferences");
    result = kilncore::config::ExtractResultFromException(std::current_exception());
  }
  if (result < 0) return result;
  // Cancel (1) rewrites the blob too: the caller always gets it back in
  // normalised form, with the options unchanged.
  prefs = BuildPrefsWithApplicationSpecificRenderOptions(PrefsToSourceIDAsString(prefs), options.AsString());
  return result;
}

bool BaseMediaInfo::IsPending() const { return false; }

void BaseMediaInfo::MediaInfoNoOpB() {}

bool BaseMediaInfo::IsCacheable() const { return true; }

void BaseMediaInfo::GetHashInfo(const KL::ReplacedMediaInfoData& /*replaced*/,
                                RL::BinaryData& /*out*/) const {}

void BaseMediaInfo::GetHashInfo(RL::BinaryData& out) const { GetModificationState(out); }

kilncore::WideString BaseMediaInfo::GetFilenameForStream(size_t /*index*/) const { return {}; }

bool BaseMediaInfo::MediaInfoTrueA() const { return true; }

void BaseMediaInfo::MediaInfoNoOpC() {}

bool BaseMediaInfo::MediaInfoFalseA() const { return false; }

bool BaseMediaInfo::IsLinkedMedia() const { return false; }

bool BaseMediaInfo::HasFrozenUnstretchableRegions() const { return false; }

bool BaseMediaInfo::MediaInfoFalseB() const { return false; }

void BaseMediaInfo::MediaInfoNoOpD() {}

// ---- KL::IMediaFile

kilncore::WideString BaseMediaInfo::GetFilePath() const { return mFilePath; }

kilncore::WideString BaseMediaInfo::GetFilePathAlias() const { return GetFilePath(); }

Guid BaseMediaInfo::GetDocumentID() const {
  static constexpr std::string_view kSalt = "Tether Document ID";
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, kSalt.data(), kSalt.size());
  kilncore::utility::UpdateHashState(state, mFilePath.data(),
                                     mFilePath.size() * sizeof(kilncore::WideChar));
  std::array<uint8_t, 16> sourceBytes{};
  Guid::GuidToBytes(mSourceID, sourceBytes.data());
  kilncore::utility::UpdateHashState(state, sourceBytes.data(), sourceBytes.size());
  Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

Guid BaseMediaInfo::GetContentState() const {
  if (!mVideoSource) return Guid();
  Guid state;
  mVideoSource->GetContentState(state);
  // A stream that can't tell its content apart still has an identity.
  if (state.IsNil()) return GetDocumentID();
  return state;
}

void BaseMediaInfo::QuietFileAlias(const kilncore::WideString& path, const RL::BinaryData& prefs) {
  QuietFile(path, prefs);
}

void BaseMediaInfo::QuietFile(const kilncore::WideString& /*path*/, const RL::BinaryData& /*prefs*/) {}

int32_t BaseMediaInfo::DeleteFileW(const kilncore::WideString& /*path*/,
                                   const RL::BinaryData& /*prefs*/) {
  return kGeneralFailure;
}

bool BaseMediaInfo::LegalToProxy() const { return false; }

void BaseMediaInfo::DisableGrowingRefreshes(bool /*disable*/) {}

void BaseMediaInfo::MediaFileNoOp() {}

// ---- KL::IMediaMetaData

bool BaseMediaInfo::CanWriteTimecode() const { return false; }

int32_t BaseMediaInfo::SetTimeInfo(const RL::BinaryData& /*prefs*/, const TickTime& /*origTime*/,
                                   const TickTime& /*altTime*/, const kilncore::WideString& /*origReel*/,
                                   const kilncore::WideString& /*altReel*/,
                                   const kilncore::WideString& /*comment*/,
                                   const kilnmediatypes::FrameRate& /*rate*/, bool /*dropFrame*/,
                                   bool /*useAlternateStart*/) {
  return kNotOffered;
}

TickTime BaseMediaInfo::GetOrigTime() const {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  if (!source) return kilnmediatypes::kTickTime_Invalid;
  return kilnmediatypes::RatioTimeToTime(source->GetStartTime());
}

TickTime BaseMediaInfo::GetAltTime() const { return TickTime(0); }

TickTime BaseMediaInfo::GetAuxTime() const { return kilnmediatypes::kTickTime_Invalid; }

kilncore::WideString BaseMediaInfo::GetLogComment() const { return {}; }

std::string BaseMediaInfo::GetAuxText() const { return {}; }

kilncore::WideString BaseMediaInfo::GetOrigReel() const { return {}; }

kilncore::WideString BaseMediaInfo::GetAltReel() const { return {}; }

bool BaseMediaInfo::GetIsDropFrame() const {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  return source ? source->IsDropFrame() : false;
}

bool BaseMediaInfo::MetaDataFalseA() const { return false; }

kilnmediatypes::PixelAspectRatio BaseMediaInfo::GetPixelAspectRatio() const {
  kilnmediatypes::PixelAspectRatio ratio;
  mVideoSource->GetPixelAspectRatio(ratio);
  return ratio;
}

kilnmediatypes::FieldType BaseMediaInfo::GetFieldType() const { return mVideoSource->GetFieldType(); }

bool BaseMediaInfo::GetUseAlternateStart() const { return false; }

kilnmediatypes::TimeDisplay BaseMediaInfo::GetTimeDisplay() const {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  if (!source) return kilnmediatypes::TimeDisplay(kilnmediatypes::kTimeDisplayType_None);
  const int64_t rate = source->GetFrameRate();
  const bool drop = source->IsDropFrame();
  const kilnmediatypes::TimeDisplay display = kilnmediatypes::GetTimeDisplayForFrameRate(
      kilnmediatypes::FrameRate(rate), drop, false, kFallbackTimeDisplay, false);
  if (display != kilnmediatypes::TimeDisplay(kFallbackTimeDisplay) ||
      (rate == kNTSCFrameTicks && drop)) {
    return display;
  }
  // The fallback means the library knows no display for this rate.
  return kilnmediatypes::TimeDisplay(kilnmediatypes::kTimeDisplayType_None);
}

int32_t BaseMediaInfo::InjectMetadata(kilncore::classref::InterfaceRef<KL::IClipLoggingInfo> /*info*/) {
  return kNotOffered;
}

int32_t BaseMediaInfo::GetXMPCaptureProperties(RL::BinaryData& /*outProperties*/) { return kNotOffered; }

int32_t BaseMediaInfo::UpdateXMPMetadataFromMedia(bool /*force*/) { return kNotOffered; }

int32_t BaseMediaInfo::WriteMetaDatum(const RL::BinaryData& /*prefs*/, KL::MetaDataType /*type*/,
                                      void* /*value*/, const RL::BinaryData& /*key*/, bool /*flagA*/,
                                      bool /*flagB*/, int* /*outResult*/,
                                      const std::vector<kilnmetadata::Path>& /*paths*/) {
  return kNotOffered;
}

std::vector<KL::MediaSceneRecord> BaseMediaInfo::GetMediaScenes() { return {}; }

bool BaseMediaInfo::GetIsPreviewRenderNoAlphaDetected() { return false; }

int32_t BaseMediaInfo::GetMetadataState(Guid& out, const std::string& /*key*/) {
  out = GetContentState();
  return 0;
}

kilncore::utility::ImmutableString BaseMediaInfo::GetMetaDataStationID() const {
  return GetStationID();
}

bool BaseMediaInfo::CanWriteXMPToFile() const { return false; }

bool BaseMediaInfo::CanWriteXMPToFileAlias() const { return CanWriteXMPToFile(); }

// ---- KL::ICircularDependencyOwner and ITetherMediaInfo

bool BaseMediaInfo::ContainsDependance(Guid id) const {
  // The link questions ask the server; they change nothing of the item, but
  // the interface that declares them doesn't promise constness.
  auto* self = const_cast<BaseMediaInfo*>(this);
  if (self->IsSourceLinkedTo(id)) return true;
  return self->HasNestedLink();
}

bool BaseMediaInfo::ContainsDependence(
    kilncore::classref::InterfaceRef<KL::IProjectItem> item) const {
  return const_cast<BaseMediaInfo*>(this)->IsProjectItemLinked(item);
}

// ---- ITetherMediaInfo

TickTime BaseMediaInfo::GetTickCount() {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  return source ? kilnmediatypes::RatioTimeToTime(source->GetTickCount()) : TickTime(0);
}

TickTime BaseMediaInfo::GetWorkInPoint() {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  return source ? kilnmediatypes::RatioTimeToTime(source->GetWorkInPoint()) : TickTime(0);
}

TickTime BaseMediaInfo::GetWorkOutPoint() {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  return source ? kilnmediatypes::RatioTimeToTime(source->GetWorkOutPoint()) : TickTime(0);
}

bool BaseMediaInfo::GetUseProxies() { return false; }

void BaseMediaInfo::SetUseProxies(bool /*use*/) {}

tether::SourceInfo BaseMediaInfo::GetSourceInfo() {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  return source ? source->GetSourceInfo() : tether::SourceInfo();
}

std::vector<Guid> BaseMediaInfo::GetLinkedItemList() { return {}; }

Guid BaseMediaInfo::GetRuntimeGuid() { return Guid(); }

void BaseMediaInfo::SetXMPRenderWorkArea(const TickTime& in, const TickTime& out) {
  mXMPRenderWorkAreaIn = in;
  mXMPRenderWorkAreaOut = out;
}

void BaseMediaInfo::ForceConform(bool force) { mForceConform = force; }

// ---- UnknownBase

void* BaseMediaInfo::QueryMap(const std::string_view& name) {
  if (NameIs(name, "TetherMedia::BaseMediaInfo")) return static_cast<BaseMediaInfo*>(this);
  if (NameIs(name, "KL::IMediaInfo")) return static_cast<KL::IMediaInfo*>(this);
  if (NameIs(name, "KL::IMediaFile")) return static_cast<KL::IMediaFile*>(this);
  if (NameIs(name, "KL::IMediaMetaData")) return static_cast<KL::IMediaMetaData*>(this);
  if (NameIs(name, "KL::ICircularDependencyOwner")) {
    return static_cast<KL::ICircularDependencyOwner*>(this);
  }
  if (NameIs(name, "KL::ICaptioningSourceOwner")) return static_cast<KL::ICaptioningSourceOwner*>(this);
  if (NameIs(name, "TetherMedia::ITetherMediaInfo")) return static_cast<ITetherMediaInfo*>(this);
  return nullptr;
}

// ---- Ending the opening request

void BaseMediaInfo::Fulfill(int result) {
  if (result >= 0) {
    mRequestPromise.SetSuccess();
  } else {
    FailPromise(mRequestPromise, "Tether Request failed with error", result);
  }
}

void BaseMediaInfo::Fulfill(tether::ConnectionStatus status) {
  if (status == tether::kConnectionStatusOK) {
    mRequestPromise.SetSuccess();
  } else {
    FailPromise(mRequestPromise, "Tether Request failed with error", kGeneralFailure);
  }
}

void BaseMediaInfo::TryCancelRequest() { FailPromise(mRequestPromise, "User Canceled", kUserCanceled); }

// ---- Callbacks that end a wait

void BaseMediaInfo::WaitForDependanceCheck(const kilncore::async::Promise<void>& promise,
                                           tether::ConnectionStatus status, bool value,
                                           std::shared_ptr<bool>& result) {
  if (status != tether::kConnectionStatusOK) {
    FailPromise(promise, "WaitForDependanceCheck failed", kGeneralFailure);
    return;
  }
  *result = value;
  promise.SetSuccess();
}

void BaseMediaInfo::WaitForRuntimeFontUpdate(const kilncore::async::Promise<void>& promise,
                                             tether::ConnectionStatus status, unsigned int value,
                                             std::shared_ptr<unsigned int>& result) {
  if (status != tether::kConnectionStatusOK) {
    FailPromise(promise, "WaitForRuntimeFontUpdate failed", kGeneralFailure);
    return;
  }
  *result = value;
  promise.SetSuccess();
}

void BaseMediaInfo::WaitForRuntimeGuid(const kilncore::async::Promise<void>& promise,
                                       tether::ConnectionStatus status, const Guid& value,
                                       std::shared_ptr<Guid>& result) {
  if (status != tether::kConnectionStatusOK) {
    *result = Guid();
    FailPromise(promise, "WaitForRuntimeGuid failed", kGeneralFailure);
    return;
  }
  *result = value;
  promise.SetSuccess();
}

void BaseMediaInfo::WaitForXMP(const kilncore::async::Promise<void>& promise,
                               tether::ConnectionStatus status, const std::string& xmp,
                               std::shared_ptr<RL::BinaryData>& data, std::shared_ptr<int>& code) {
  if (status == tether::kConnectionStatusOK) {
    *data = xmp.empty() ? RL::BinaryData() : RL::BinaryData::FromString(xmp);
    *code = 0;
  } else {
    *data = RL::BinaryData();
    *code = kGeneralFailure;
  }
  if (*code >= 0) {
    promise.SetSuccess();
  } else {
    FailPromise(promise, "WaitForXMP failed", *code);
  }
}

tether::Source::BoolCallback BaseMediaInfo::BindWaitForDependanceCheck(
    const kilncore::async::Promise<void>& promise, std::shared_ptr<bool> result) {
  using namespace boost::placeholders;
  return boost::bind(&BaseMediaInfo::WaitForDependanceCheck, promise, _1, _2, std::move(result));
}

tether::Project::FontChangeCallback BaseMediaInfo::BindWaitForRuntimeFontUpdate(
    const kilncore::async::Promise<void>& promise, std::shared_ptr<unsigned int> result) {
  using namespace boost::placeholders;
  return boost::bind(&BaseMediaInfo::WaitForRuntimeFontUpdate, promise, _1, _2, std::move(result));
}

tether::Source::GuidCallback BaseMediaInfo::BindWaitForRuntimeGuid(
    const kilncore::async::Promise<void>& promise, std::shared_ptr<Guid> result) {
  using namespace boost::placeholders;
  return boost::bind(&BaseMediaInfo::WaitForRuntimeGuid, promise, _1, _2, std::move(result));
}

tether::Source::XMPCallback BaseMediaInfo::BindWaitForXMP(const kilncore::async::Promise<void>& promise,
                                                          std::shared_ptr<RL::BinaryData> data,
                                                          std::shared_ptr<int> code) {
  using namespace boost::placeholders;
  return boost::bind(&BaseMediaInfo::WaitForXMP, promise, _1, _2, std::move(data), std::move(code));
}

// ---- Progress

void BaseMediaInfo::RebroadcastTetherProgress(std::string progressType,
                                              const std::vector<kilncore::WideString>& arguments,
                                              const kilncore::WideString& filePath, Guid sourceID,
                                              double progress) {
  const kilncore::utility::ImmutableString stationID = GetProgressStation();
  const std::shared_ptr<kilncore::messaging::Station> station =
      kilncore::messaging::FindStation(stationID);
  // Servers report often; without a listener a report must cost no message.
  if (!station || !station->HasListeners()) return;
  const TetherProgress message(std::move(progressType), arguments, filePath, sourceID, progress);
  kilncore::messaging::PostMessageToUIThread(stationID, message, true);
}

tether::Server::ProgressCallback BaseMediaInfo::BindRebroadcastTetherProgress(
    const kilncore::WideString& filePath, const Guid& sourceID) {
  using namespace boost::placeholders;
  // The server gives (key, value, arguments); the relay takes (key, arguments,
  // path, identifier, value).
  return boost::bind(&BaseMediaInfo::RebroadcastTetherProgress, _1, _3, filePath, sourceID, _2);
}

// ---- Media opaque data

void BaseMediaInfo::MakeMediaOpaqueData(kilncore::classref::InterfaceRef<BaseMediaInfo>& info,
                                        kilncore::WideString renderOptions, RL::BinaryData& out) {
  tether::MarlRenderOptions options;
  ApplicationSpecificRenderOptionsToMarlRenderOptions(renderOptions, options);
  if (options.needsToPatchSourceForDownsample &&
      (options.downSampleX != 1 || options.downSampleY != 1)) {
    // The blob keeps the divisors for the server; the source's description is
    // corrected now, so that the size the host sees is the size rendered.
    tether::SourceInfo patched = info->mSource->GetSourceInfo();
    patched.width /= options.downSampleX;
    patched.height /= options.downSampleY;
    info->mSource->Init(patched, tether::Source::InitCallback());
  }
  out = BuildPrefsWithApplicationSpecificRenderOptions(info->mSourceID.AsString(), options.AsString());
}

void BaseMediaInfo::MakeMediaOpaqueData(kilncore::classref::InterfaceRef<BaseMediaInfo>& info,
                                        kilncore::WideString renderOptions,
                                        const kilncore::WideString& filePath, RL::BinaryData& out) {
  BaseMediaInfo& item = *info;  // throws for a null item before anything else
  // Marl is asked first: a file that would pass both tests is a Marl project.
  if (!renderOptions.empty() && WF::ImportableFileTypeUtils::IsMarlProject(filePath, false)) {
    MakeMediaOpaqueData(info, renderOptions, out);
    return;
  }
  if (!renderOptions.empty() && WF::ImportableFileTypeUtils::IsSprocketProject(filePath)) {
    out = BuildPrefsWithApplicationSpecificRenderOptions(item.mSourceID.AsString(), renderOptions);
    return;
  }
  out = SourceIDToPrefs(item.mSourceID);
}

}  // namespace TetherMedia
