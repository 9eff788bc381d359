// The answers of an item that depend on how it was linked: stream counts,
// names, identity, and the flags that pass through to the stream object.

#include <mediainfo/TetherMediaInfo.h>

#include <source/TetherSource.h>

#include <FarsideCL/AssetName.h>
#include <KL/FarsideAvailability.h>
#include <RL/MediaType.h>
#include <Sill/PathUtils.h>
#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/HashValueMixerState.h>

#include <string>
#include <string_view>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::threads::ScopedRecursiveLock;
using kilncore::utility::Guid;

void Feed(kilncore::utility::HashValueMixerState& state, std::string_view bytes) {
  kilncore::utility::UpdateHashState(state, bytes.data(), bytes.size());
}

}  // namespace

InterfaceRef<TetherSource> TetherMediaInfo::LinkedSource() const {
  // The reference is copied under the lock, since the chain may store into the
  // slot on another thread; the copy is then used without it. Only this class
  // stores into the slot, and only TetherSources, so the video interface leads
  // back to its TetherSource without a query.
  InterfaceRef<KL::IVideoSource> videoSource;
  {
    ScopedRecursiveLock lock(mMutex);
    videoSource = mVideoSource;
  }
  if (!videoSource) return {};
  return InterfaceRef<TetherSource>(videoSource.GetOwner(), static_cast<TetherSource*>(videoSource.Get()));
}

// --- What the chain connected.

std::shared_ptr<tether::GenericServer> TetherMediaInfo::GetTypedServer() const {
  ScopedRecursiveLock lock(mMutex);
  return mTypedServer;
}

std::shared_ptr<tether::Server> TetherMediaInfo::GetLinkedServer() const {
  ScopedRecursiveLock lock(mMutex);
  return mLinkedServer;
}

std::shared_ptr<tether::FileServer> TetherMediaInfo::GetFileServer() const {
  ScopedRecursiveLock lock(mMutex);
  return mFileServer;
}

std::shared_ptr<tether::Project> TetherMediaInfo::GetProject() const {
  ScopedRecursiveLock lock(mMutex);
  return mProject;
}

bool TetherMediaInfo::IsRemoteAsset() const { return !mAssetRequest.IsEmpty(); }

// --- KL::IMediaInfo.

size_t TetherMediaInfo::GetNumStreams(Guid mediaType) const {
  ScopedRecursiveLock lock(mMutex);
  const bool audio = mediaType == RL::kMediaType_Audio;
  const bool video = mediaType == RL::kMediaType_Video;
  const size_t linked = mVideoSource ? 1 : 0;
  // A remote item, and a local one whose host wants audio whatever the server
  // says, have a stream exactly when they have a stream object.
  if (IsRemoteAsset()) return audio || video ? linked : 0;
  if (audio && mExposeAudioAlways) return linked;
  if (!mSource) return 0;
  if (audio) return mSource->HasAudio() ? 1 : 0;
  // Every linked item can render a picture, so the server isn't asked.
  return video ? 1 : 0;
}

void TetherMediaInfo::SetMediaHint(bool exposeAudioAlways) {
  ScopedRecursiveLock lock(mMutex);
  mExposeAudioAlways = exposeAudioAlways;
}

kilncore::WideString TetherMediaInfo::GetInstanceString() const {
  if (!KL::IsFarsideClientAvailable() || !IsRemoteAsset()) return BaseMediaInfo::GetInstanceString();
  if (mLinkedAssetText) return mLinkedAssetText->AsWide();
  return AssetNameText();
}

kilncore::WideString TetherMediaInfo::AssetNameText() const {
  using kilncore::utility::ImmutableString;
  const FarsideCL::AssetName name(ImmutableString(mAssetRequest.production),
                                  ImmutableString(mAssetRequest.version),
                                  ImmutableString(mAssetRequest.asset));
  return name.ToJSONWideString();
}

kilncore::WideString TetherMediaInfo::GetMediaDisplayName() const {
  ScopedRecursiveLock lock(mMutex);
  kilncore::WideString name;
  if (!mSource) return name;
  if (mProject) {
    name = mSource->GetName() + u"/" +
           Sill::PathUtils::GetFullFilePart(mProject->GetFile().FullPath());
  } else if (mFileServer) {
    name = mSource->GetName();
  } else {
    const tether::SourceInfo& info = mSource->GetSourceInfo();
    if (!info.assetRequest.IsEmpty()) {
      name = mSource->GetName();
      if (!info.assetDisplayName.empty()) name += u"/" + info.assetDisplayName;
    }
  }
  return name;
}

int32_t TetherMediaInfo::GetMediaInfoRef(InterfaceRef<KL::IMediaInfo>& outRef) const {
  auto* self = const_cast<TetherMediaInfo*>(this);
  outRef = InterfaceRef<KL::IMediaInfo>(self->GetSharedFromThis(), static_cast<KL::IMediaInfo*>(self));
  return 0;
}

bool TetherMediaInfo::IsLinkedMedia() const { return true; }

bool TetherMediaInfo::HasFrozenUnstretchableRegions() const {
  const InterfaceRef<TetherSource> linked = LinkedSource();
  return linked ? linked->HasFrozenUnstretchableRegions() : false;
}

InterfaceRef<BaseMediaInfo> TetherMediaInfo::GetBaseMediaInfoRef() const {
  auto* self = const_cast<TetherMediaInfo*>(this);
  return InterfaceRef<BaseMediaInfo>(self->GetSharedFromThis(), static_cast<BaseMediaInfo*>(self));
}

kilncore::WideString TetherMediaInfo::GetSourceName() const {
  // A missing stream object is a null-reference failure here, by design: the
  // name is only asked of a connected item.
  const InterfaceRef<TetherSource> linked = LinkedSource();
  if (!linked) kilncore::config::DoThrowNullPtrException(kilncore::classref::InterfaceNameOf<TetherSource>());
  return linked->GetName();
}

// --- KL::IMediaFile.

Guid TetherMediaInfo::GetDocumentID() const {
  if (!IsRemoteAsset()) return BaseMediaInfo::GetDocumentID();
  // A remote item has no stable path, so its identity is made of what names
  // the asset: a linked asset by its text and version, any other by all three
  // parts of its name.
  kilncore::utility::HashValueMixerState state;
  Feed(state, "Tether Document ID");
  if (mLinkedAssetText) {
    const kilncore::WideString text = mLinkedAssetText->AsWide();
    kilncore::utility::UpdateHashState(state, text.data(), text.size() * sizeof(char16_t));
    Feed(state, mAssetRequest.version);
  } else {
    Feed(state, mAssetRequest.production);
    Feed(state, mAssetRequest.version);
    Feed(state, mAssetRequest.asset);
  }
  Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

// --- ITetherMediaInfo: the stream object's flags.

bool TetherMediaInfo::GetUsePreviewFiles() {
  const InterfaceRef<TetherSource> linked = LinkedSource();
  return linked ? linked->GetUsePreviewFiles() : false;
}

void TetherMediaInfo::SetUsePreviewFiles(bool use) {
  if (const InterfaceRef<TetherSource> linked = LinkedSource()) {
    linked->SetUsePreviewFiles(use);
  }
}

bool TetherMediaInfo::GetUseProxies() {
  const InterfaceRef<TetherSource> linked = LinkedSource();
  return linked ? linked->GetUseProxies() : false;
}

void TetherMediaInfo::SetUseProxies(bool use) {
  if (const InterfaceRef<TetherSource> linked = LinkedSource()) {
    linked->SetUseProxies(use);
  }
}

// --- Queries.

void* TetherMediaInfo::QueryMap(const std::string_view& name) {
  if (void* answer = kilncore::classref::AnswerQuery<TetherMediaInfo, KL::IFontSetWatcher,
                                                     KL::IMediaAnalysis>(this, name)) {
    return answer;
  }
  return BaseMediaInfo::QueryMap(name);
}

}  // namespace TetherMedia
