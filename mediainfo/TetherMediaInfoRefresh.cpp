// Refresh: whether the item's content has moved on since it was read, and the
// usage event of an opened project. Nothing here blocks: every result reaches
// the host as a message on the item's station.

#include <mediainfo/TetherMediaInfo.h>

#include <source/TetherSource.h>

#include <KL/MediaInfoChangedMessage.h>
#include <KL/MediaInfoDeletedMessage.h>
#include <kilncore/config/UsageLogger.h>
#include <kilncore/debug/TraceSite.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/FileUtils.h>

#include <string>

namespace TetherMedia {

int32_t TetherMediaInfo::RefreshFile(const kilncore::WideString& path) {
  const bool hasStream = static_cast<bool>(LinkedSource());
  const std::shared_ptr<tether::Project> project = GetProject();
  bool reachable = !path.empty() && hasStream;
  if (reachable && !mLinkedAssetText) {
    reachable = kilncore::utility::FileUtils::FileOrDirExists(path) && project != nullptr;
  }
  if (!reachable) {
    // A remote item is never declared gone from here: its "path" is a name
    // that no file system knows.
    if (!IsRemoteAsset()) PostMediaInfoDeleted();
    return 0;
  }
  if (path != GetFilePath()) return 0;
  if (!IsRemoteAsset()) {
    // A local item came through the check above only with its project.
    if (project) project->GetSource(WeakForwarder<tether::Source>(&TetherMediaInfo::OnRefreshFileAsync), mSourceID);
  } else if (mLinkedAssetText) {
    if (const std::shared_ptr<tether::Server> server = GetLinkedServer()) {
      server->OpenFarsideAsset(WeakForwarder<tether::Source>(&TetherMediaInfo::OnRefreshFileAsync),
                               mAssetRequest);
    }
  }
  return 0;
}

void TetherMediaInfo::OnRefreshFileAsync(tether::ConnectionStatus status,
                                         const std::shared_ptr<tether::Source>& source) {
  if (status != tether::kConnectionStatusOK || !source) {
    PostMediaInfoDeleted();
    return;
  }
  const kilncore::classref::InterfaceRef<TetherSource> linked = LinkedSource();
  kilncore::utility::Guid current;
  if (linked) linked->GetContentState(current);
  const kilncore::utility::Guid fresh = source->GetContentState();

  static kilncore::debug::TraceSite site("TetherMediaInfo", 6);
  if (current == fresh) {
    if (site.Enabled()) {
      site.Write("OnRefreshFileAsync, no changes detected, linked source was not updated.");
    }
    return;
  }
  if (site.Enabled()) {
    site.Write("OnRefreshFileAsync, content state doesn't match, linked source being updated "
               "current content state = " + current.AsUTF8String() +
               " new content state = " + fresh.AsUTF8String() + " project = " +
               kilncore::string::UTF16to8(source->GetParentProjectFile().FullPath()));
  }
  {
    kilncore::threads::ScopedRecursiveLock lock(mMutex);
    mSource = source;
  }
  if (linked) linked->SetSource(source);
  PostMediaInfoChanged();
}

void TetherMediaInfo::PostMediaInfoChanged() {
  kilncore::messaging::PostMessageToUIThread(mStation.GetStationID(), KL::MediaInfoChangedMessage(), false);
}

void TetherMediaInfo::PostMediaInfoDeleted() {
  kilncore::messaging::PostMessageToUIThread(mStation.GetStationID(), KL::MediaInfoDeletedMessage(), true);
}

void TetherMediaInfo::LogImportOperation(tether::ConnectionStatus status,
                                         const std::shared_ptr<tether::Container>& container) {
  // Reached through the weak forwarder, so the item is alive here.
  const std::shared_ptr<kilncore::config::UsageLogger> logger = kilncore::config::UsageLogger::Get();
  if (!logger || status != tether::kConnectionStatusOK || !container) return;
  const std::shared_ptr<kilncore::config::UsageEvent> event =
      logger->StartEvent("Tether", nullptr, "tether_import_op", container->GetID().AsUTF8String());
  event->AddValue("docid_source", "Container DocID");
  event->AddValue("import_type", kilncore::utility::FileUtils::GetPathExtension(mFilePath, true));
}

}  // namespace TetherMedia
