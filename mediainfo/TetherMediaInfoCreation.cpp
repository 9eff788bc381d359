// Making an item: the three factories, the opening of a local file or a remote
// asset, and the wait for the chain of server callbacks.

#include <mediainfo/TetherMediaInfo.h>
#include <requests/ServerWait.h>

#include <FarsideCL/AssetName.h>
#include <KL/FarsideAvailability.h>
#include <KL/FontSetUpdateManager.h>
#include <TetherMedia/Prefs.h>
#include <TetherMedia/RequestFutures.h>
#include <kilncore/allocator/STLAllocator.h>
#include <kilncore/debug/TraceSite.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/FileUtils.h>
#include <kilncore/utility/HashValueMixerState.h>

#include <string>
#include <string_view>
#include <utility>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilncore::utility::ImmutableString;

// The bytes of a prefs blob's source identifier. A shorter blob holds none.
constexpr size_t kSourceIDBytes = 36 * sizeof(char16_t);

// A blob too short to name a source is never one this module wrote; reading it
// as one would run past its end, so it names the nil source with no options.
Guid SourceIDOf(const RL::BinaryData& prefs) {
  return prefs.GetSize() < kSourceIDBytes ? Guid() : PrefsToSourceID(prefs);
}

kilncore::WideString RenderOptionsOf(const RL::BinaryData& prefs) {
  return prefs.GetSize() < kSourceIDBytes ? kilncore::WideString()
                                          : PrefsToApplicationSpecificRenderOptions(prefs);
}

// The same asset must get the same identifier in every run and on every
// machine, so that the host finds its clip again; the fixed prefix keeps these
// identifiers apart from hashes made elsewhere of the same text.
Guid MadeUpSourceID(const tether::FarsideAssetRequestInfo& request) {
  static constexpr std::string_view kPrefix = "TetherMedia::TetherMediaInfo::Create";
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, kPrefix.data(), kPrefix.size());
  kilncore::utility::UpdateHashState(state, request.asset.data(), request.asset.size());
  Guid guid;
  kilncore::utility::GetHashResult(state, guid);
  return guid;
}

void TraceRemoteCreation(const Guid& sourceID, const kilncore::WideString& renderOptions) {
  static kilncore::debug::TraceSite site("TetherMedia", 6);
  if (!site.Enabled()) return;
  site.Write("TetherMediaInfo::Create: SourceID=" + sourceID.AsUTF8String() +
             ", appSpecificRenderOptions=" + kilncore::string::UTF16to8(renderOptions));
}

}  // namespace

TetherMediaInfo::TetherMediaInfo() : BaseMediaInfo(false) {}

TetherMediaInfo::~TetherMediaInfo() {
  // The project belongs to the generic server and the generic server to its
  // connection, so they go in that order, before anything else of the item.
  mProject.reset();
  mLinkedServer.reset();
  mFileServer.reset();
}

TetherMediaInfo::ItemRef TetherMediaInfo::MakeItem() {
  return ItemRef(std::allocate_shared<TetherMediaInfo>(
      kilncore::allocator::STLAllocator<TetherMediaInfo>()));
}

kilncore::async::Future<void> TetherMediaInfo::RegisterOpeningRequest() {
  auto pair = CreateRequestFuture(mFilePath, mSourceID);
  // The item holds the only promise: if the item goes, the wait ends. A
  // duplicate request gets an empty pair, and so a wait that ends at once.
  mRequestPromise = std::move(pair.promise);
  return std::move(pair.future);
}

int32_t TetherMediaInfo::WaitForOpening(const kilncore::async::Future<void>& future) {
  // However the wait ended (linked, refused, cancelled, deadline), what counts
  // is whether a stream object came of it; the failure stays in the future.
  ServerWait::WaitUntilDeadline(future);
  kilncore::threads::ScopedRecursiveLock lock(mMutex);
  return mVideoSource ? 0 : kNoLinkedSource;
}

void TetherMediaInfo::RegisterAsFontWatcher() {
  if (!KL::Utils::UseFontManager()) return;
  KL::Utils::FontSetUpdateManager::GetInstance()->RegisterWatcher(
      kilncore::classref::InterfaceRef<KL::IFontSetWatcher>::FromThis(this));
}

// --- Local files.

int32_t TetherMediaInfo::OpenFile(ItemRef& out, const kilncore::WideString& path,
                                  const Guid& sourceID, const kilncore::WideString& renderOptions) {
  if (!kilncore::utility::FileUtils::FileOrDirExists(path)) return kFileMissing;
  ItemRef item = MakeItem();
  out = item;
  // Written before the first server call, so the chain reads them without a
  // lock; they don't change afterwards.
  item->mFilePath = path;
  item->mSourceID = sourceID;
  item->mRenderOptionsText = renderOptions;
  const kilncore::async::Future<void> future = item->RegisterOpeningRequest();
  const int32_t started = item->ConnectByFileType(path);
  if (started < 0) return started;
  return item->WaitForOpening(future);
}

int32_t TetherMediaInfo::Create(ItemRef& out, const kilncore::WideString& path,
                                RL::BinaryData& prefs) {
  const kilncore::WideString renderOptions = RenderOptionsOf(prefs);
  const int32_t result = OpenFile(out, path, SourceIDOf(prefs), renderOptions);
  if (result < 0) return result;
  InterfaceRef<BaseMediaInfo> base(out);
  MakeMediaOpaqueData(base, renderOptions, path, prefs);
  return result;
}

// --- Remote assets.

int32_t TetherMediaInfo::OpenRemoteAsset(ItemRef& out, const tether::FarsideAssetRequestInfo& request,
                                         tether::FarsideAssetServerType serverType,
                                         const Guid& sourceID,
                                         const kilncore::WideString& renderOptions,
                                         const boost::optional<ImmutableString>& linkedAssetText) {
  if (!KL::IsFarsideClientAvailable()) return kNotOffered;
  ItemRef item = MakeItem();
  out = item;
  item->mAssetRequest = request;
  item->mAssetServerType = serverType;
  item->mSourceID = sourceID;
  item->mRenderOptionsText = renderOptions;
  item->mLinkedAssetText = linkedAssetText;
  // A remote item's path is the asset's name, which names no file.
  const FarsideCL::AssetName name(ImmutableString(request.production), ImmutableString(request.version),
                                  ImmutableString(request.asset));
  item->mFilePath = name.ToJSONWideString();
  const kilncore::async::Future<void> future = item->RegisterOpeningRequest();
  // A versioned asset is served by the other road.
  const auto connectionType = static_cast<tether::ServerConnectionType>(
      name.GetVersion() != ImmutableString() ? tether::kServerConnectionTypeAlternate
                                             : tether::kServerConnectionTypeDefault);
  const int32_t started = item->ConnectRemoteAsset(serverType, connectionType);
  if (started < 0) return started;
  return item->WaitForOpening(future);
}

int32_t TetherMediaInfo::Create(ItemRef& out, const tether::FarsideAssetRequestInfo& request,
                                tether::FarsideAssetServerType serverType, RL::BinaryData& prefs,
                                const boost::optional<ImmutableString>& linkedAssetText) {
  kilncore::WideString renderOptions;
  if (prefs.IsEmpty()) {
    prefs = SourceIDToPrefs(MadeUpSourceID(request));
  } else {
    renderOptions = RenderOptionsOf(prefs);
  }
  const Guid sourceID = SourceIDOf(prefs);
  const int32_t result =
      OpenRemoteAsset(out, request, serverType, sourceID, renderOptions, linkedAssetText);
  if (result < 0) return result;
  InterfaceRef<BaseMediaInfo> base(out);
  MakeMediaOpaqueData(base, renderOptions, prefs);
  TraceRemoteCreation(sourceID, renderOptions);
  return result;
}

}  // namespace TetherMedia
