#pragma once

#include <mediainfo/TetherMediaInfo.h>
#include <source/TetherSource.h>

#include <RL/BinaryData.h>
#include <TetherMedia/Prefs.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilncore/utility/Guid.h>
#include <tether/testing/ScopedBackend.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace TetherMedia {

// Reaches the item's fields and handlers, so that tests can drive the chain
// one step at a time and look at what each step stored.
class TetherMediaInfoTestAccess {
 public:
  using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

  static ItemRef MakeItem() { return TetherMediaInfo::MakeItem(); }
  static void SetPath(TetherMediaInfo& item, const kilncore::WideString& path,
                      const kilncore::utility::Guid& sourceID,
                      const kilncore::WideString& renderOptions = {}) {
    item.mFilePath = path;
    item.mSourceID = sourceID;
    item.mRenderOptionsText = renderOptions;
  }
  static void SetAssetRequest(TetherMediaInfo& item, const tether::FarsideAssetRequestInfo& request,
                              const boost::optional<kilncore::utility::ImmutableString>& text) {
    item.mAssetRequest = request;
    item.mLinkedAssetText = text;
  }
  static kilncore::async::Future<void> Register(TetherMediaInfo& item) {
    return item.RegisterOpeningRequest();
  }
  static std::shared_ptr<tether::Source> Source(const TetherMediaInfo& item) {
    kilncore::threads::ScopedRecursiveLock lock(item.mMutex);
    return item.mSource;
  }
  static bool HasLinkedSource(const TetherMediaInfo& item) {
    kilncore::threads::ScopedRecursiveLock lock(item.mMutex);
    return static_cast<bool>(item.mVideoSource);
  }
  static kilncore::classref::InterfaceRef<TetherSource> LinkedSource(const TetherMediaInfo& item) {
    return item.LinkedSource();
  }
  static kilnmediatypes::TickTime XMPWorkAreaIn(const TetherMediaInfo& item) { return item.mXMPRenderWorkAreaIn; }
  static kilnmediatypes::TickTime XMPWorkAreaOut(const TetherMediaInfo& item) { return item.mXMPRenderWorkAreaOut; }
  static void SetSource(TetherMediaInfo& item, const std::shared_ptr<tether::Source>& source) {
    kilncore::threads::ScopedRecursiveLock lock(item.mMutex);
    item.mSource = source;
  }
  static uint32_t LastFontChangeValue(const TetherMediaInfo& item) { return item.mLastFontChangeValue; }
  static void SetExposeAudioAlways(TetherMediaInfo& item, bool value) { item.SetMediaHint(value); }
  static void SetConnections(TetherMediaInfo& item, std::shared_ptr<tether::GenericServer> typed,
                             std::shared_ptr<tether::Server> linked,
                             std::shared_ptr<tether::FileServer> file,
                             std::shared_ptr<tether::Project> project) {
    kilncore::threads::ScopedRecursiveLock lock(item.mMutex);
    item.mTypedServer = std::move(typed);
    item.mLinkedServer = std::move(linked);
    item.mFileServer = std::move(file);
    item.mProject = std::move(project);
  }

  // Starts the link that Create would start for the item's path (or, for a
  // remote item, its asset), without waiting; the caller waits on the future
  // of Register and so sees exactly how the chain ended.
  static int32_t StartByFileType(TetherMediaInfo& item) {
    return item.ConnectByFileType(item.mFilePath);
  }
  static int32_t StartRemote(TetherMediaInfo& item, tether::FarsideAssetServerType serverType) {
    return item.ConnectRemoteAsset(serverType, tether::kServerConnectionTypeDefault);
  }
  // The road of the table's Sprocket source row, whose extension the host's
  // Sprocket project test claims first: the same server factory and the same
  // unkept handler, reached directly.
  static void StartSprocketSourceRoad(TetherMediaInfo& item) {
    ItemRef self = ItemRef::FromThis(&item);
    tether::SprocketServer::CreateTetherServer(
        [self](tether::ConnectionStatus status, const std::shared_ptr<tether::SprocketServer>& server) {
          self->OnSprocketServerStatus(status, server);
        },
        tether::kServerConnectionTypeDefault);
  }

  static void OnMarlServerStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                                 const std::shared_ptr<tether::MarlServer>& server) {
    item.OnMarlServerStatus(status, server);
  }
  static void OnSprocketServerStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                                     const std::shared_ptr<tether::SprocketServer>& server) {
    item.OnSprocketServerStatus(status, server);
  }
  static void OnTolmenFileServerStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                                       const std::shared_ptr<tether::TolmenServer>& server) {
    item.OnTolmenFileServerStatus(status, server);
  }
  static void OnLinkedServerStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                                   const std::shared_ptr<tether::Server>& server) {
    item.OnLinkedServerStatus(status, server);
  }
  static void OnFileServerStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                                 const std::shared_ptr<tether::FileServer>& server) {
    item.OnFileServerStatus(status, server);
  }
  static void OnProjectStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                              const std::shared_ptr<tether::Project>& project) {
    item.OnProjectStatus(status, project);
  }
  static void OnSourceStatus(TetherMediaInfo& item, tether::ConnectionStatus status,
                             const std::shared_ptr<tether::Source>& source) {
    item.OnSourceStatus(status, source);
  }
};

namespace testing_support {

// The results of creation, written out here rather than taken from the class,
// so that a wrong constant there shows.
constexpr int32_t kNoLinkedSource = static_cast<int32_t>(0xA00703E9u);
constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
constexpr int32_t kFileMissing = static_cast<int32_t>(0xA00F0003u);
constexpr int32_t kNotOffered = static_cast<int32_t>(0xA00F000Cu);

// A folder of empty project files, one per name, removed at the end.
class ProjectFiles {
 public:
  ProjectFiles() {
    mFolder = std::filesystem::temp_directory_path() /
              ("tether-creation-" + kilncore::utility::Guid::CreateUnique().AsUTF8String());
    std::filesystem::create_directories(mFolder);
  }
  ~ProjectFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
  }
  // Makes the file `name` and gives its path.
  kilncore::WideString Make(const std::string& name) {
    const std::filesystem::path path = mFolder / name;
    std::ofstream(path) << "project";
    return kilncore::string::UTF8to16(path.string());
  }
  kilncore::WideString Missing(const std::string& name) const {
    return kilncore::string::UTF8to16((mFolder / name).string());
  }

 private:
  std::filesystem::path mFolder;
};

inline kilncore::utility::Guid ItemID() {
  return kilncore::utility::Guid(u"6F1C2B3A-1111-4222-8333-944455556666");
}

inline RL::BinaryData ItemPrefs(const kilncore::WideString& renderOptions = {}) {
  return BuildPrefsWithApplicationSpecificRenderOptions(ItemID().AsString(), renderOptions);
}

// Prefs of a source of its own, for tests whose items must share no request
// key even while an earlier item's opening is still running.
inline RL::BinaryData UniquePrefs(const kilncore::WideString& renderOptions = {}) {
  return BuildPrefsWithApplicationSpecificRenderOptions(
      kilncore::utility::Guid::CreateUnique().AsString(), renderOptions);
}

inline std::string Utf8(const kilncore::WideString& text) { return kilncore::string::UTF16to8(text); }

}  // namespace testing_support
}  // namespace TetherMedia
