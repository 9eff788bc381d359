// The questions a host asks before it nests one linked item in another (does
// this item use that one, does it link anything at all), and the reaction of
// a Marl item to a change of the machine's fonts. Each is one blocking server
// request; any failure counts as "no".

#include <mediainfo/TetherMediaInfo.h>

#include <requests/ServerWait.h>
#include <source/TetherSource.h>

#include <Crate/ApplicationType.h>
#include <FarsideCL/AssetDependencies.h>
#include <KL/FarsideAvailability.h>
#include <KL/IClipProjectItem.h>
#include <KL/IFarsideProjectItem.h>
#include <KL/MasterClipUtils.h>
#include <WF/ImportableFileTypeUtils.h>
#include <kilncore/classref/InterfaceName.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/utility/ImmutableString.h>

#include <memory>
#include <set>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;

// Only Marl and Tolmen hosts can nest linked items, so only they ask.
bool HostCanNestLinks() {
  const int32_t application = Crate::GetApplicationType();
  return application == 1 || application == 5;
}

// The master clip kind that names the clip's own media, as opposed to one of
// its derived forms.
constexpr int32_t kOwnMasterClip = 2;

}  // namespace

bool TetherMediaInfo::IsSourceLinkedTo(Guid id) {
  if (!HostCanNestLinks()) return false;
  const std::shared_ptr<tether::Project> project = GetProject();
  if (!project) return false;
  auto linked = std::make_shared<bool>(false);
  const int32_t code = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    project->IsSourceLinked(BindWaitForDependanceCheck(promise, linked), id);
  });
  return code >= 0 ? *linked : false;
}

bool TetherMediaInfo::HasNestedLink() {
  if (!HostCanNestLinks()) return false;
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  if (!source) return false;
  auto linked = std::make_shared<bool>(false);
  const int32_t code = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    source->DoesSourceContainLink(BindWaitForDependanceCheck(promise, linked));
  });
  return code >= 0 ? *linked : false;
}

bool TetherMediaInfo::IsProjectItemLinked(InterfaceRef<KL::IProjectItem> item) {
  if (!item) return false;
  const InterfaceRef<KL::IClipProjectItem> clip(item);
  if (!clip) return false;
  const InterfaceRef<KL::IMasterClip> masterClip = clip->GetMasterClip(kOwnMasterClip);
  if (!masterClip) return false;
  const InterfaceRef<KL::ISequence> sequence = KL::MasterClipUtils::GetSequence(masterClip);
  if (!sequence) return false;
  if (!IsRemoteAsset()) return IsSourceLinkedTo(sequence->GetSequenceID());

  // A remote item: only the remote client can tell what an asset uses.
  if (!KL::IsFarsideClientAvailable()) return false;
  const InterfaceRef<KL::IFarsideProjectItem> remoteItem(item);
  // A sequence that the remote client doesn't know may be anything, so it
  // counts as linked: the host then refuses the nesting rather than risk a
  // circle.
  if (!remoteItem) return true;
  const InterfaceRef<KL::IProject> project = KL::GetContainingProxyProject(item);
  if (!project) kilncore::config::DoThrowNullPtrException(kilncore::classref::InterfaceNameOf<KL::IProject>());
  const kilncore::utility::ImmutableString itemAsset = remoteItem->GetAssetText();
  const std::set<kilncore::utility::ImmutableString> assets{
      kilncore::utility::ImmutableString(mAssetRequest.asset)};
  return FarsideCL::IsAssetDependendedUpon(project, kilncore::utility::ImmutableString(mAssetRequest.production),
                                           kilncore::utility::ImmutableString(), itemAsset, assets);
}

Guid TetherMediaInfo::GetRuntimeGuid() {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  // Only a Marl composition draws with the machine's fonts.
  if (!source || !WF::ImportableFileTypeUtils::IsMarlProject(mFilePath, false)) return Guid();
  auto runtime = std::make_shared<Guid>();
  const int32_t code = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    source->GetRuntimeGuid(BindWaitForRuntimeGuid(promise, runtime));
  });
  return code >= 0 ? *runtime : Guid();
}

bool TetherMediaInfo::OnFontSetChanged() {
  // A remote item has no project, and so never reacts.
  const std::shared_ptr<tether::Project> project = GetProject();
  if (!project) return false;
  auto value = std::make_shared<unsigned int>(0);
  const int32_t code = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    project->RuntimeFontChange(BindWaitForRuntimeFontUpdate(promise, value));
  });
  if (code < 0) return false;
  // Unlocked: the font manager calls its watchers one at a time.
  if (*value == mLastFontChangeValue) return false;
  mLastFontChangeValue = *value;

  const InterfaceRef<TetherSource> linked = LinkedSource();
  if (!linked) return false;
  const Guid fresh = GetRuntimeGuid();
  Guid current;
  linked->GetRuntimeFontGuid(current);
  if (fresh == current) return false;
  linked->SetRuntimeFontGuid(fresh);
  PostMediaInfoChanged();
  return true;
}

}  // namespace TetherMedia
