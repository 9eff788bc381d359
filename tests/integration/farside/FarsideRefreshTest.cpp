// A clip linked to a remote asset following the asset at the reference Farside
// service, over the real link server: an item opened by the text that links a
// document to the asset looks at the service again when the host refreshes it,
// and tells the host whether the media changed; an item opened by the asset's
// name is never refreshed; a service that is gone makes the item offline at
// once instead of hanging the refresh.
#include "../module/ItemMessages.h"
#include "../module/ModuleRoadTest.h"

#include <FarsideService.h>

#include <FarsideCL/FarsideLogin.h>
#include <KL/FarsideAvailability.h>
#include <KL/IMediaFile.h>
#include <TetherMedia/FarsideAssets.h>
#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/utility/ImmutableString.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

namespace TetherMedia::integration {
namespace {

namespace fs = std::filesystem;
using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilncore::utility::ImmutableString;
using kilnmediatypes::TickTime;

constexpr char kToken[] = "refresh-token";
// The Titles asset linked with no version: the link follows the production's
// latest version, so a new version is new content for it.
constexpr char kLatestTitlesLink[] = R"({"production":"Trailer","mediaPath":"/Shots/Titles","version":"","asset":"Titles"})";

std::string ReadText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// A cache folder of the test's own for the server's copies of assets. It is
// set before the server exists: an in-process server reads it when it is
// made, a child server inherits it when it starts.
class ServerCacheFolder {
 public:
  ServerCacheFolder()
      : mFolder(fs::temp_directory_path() / ("farside-refresh-cache-" + Guid::CreateUnique().AsUTF8String())) {
    setenv("TETHER_SERVER_CACHE", mFolder.c_str(), 1);
  }
  ~ServerCacheFolder() {
    unsetenv("TETHER_SERVER_CACHE");
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }
  ServerCacheFolder(const ServerCacheFolder&) = delete;
  ServerCacheFolder& operator=(const ServerCacheFolder&) = delete;

 private:
  fs::path mFolder;
};

class FarsideRefreshTest : private ServerCacheFolder, public ModuleRoadTest {
 protected:
  void SetUp() override {
    ModuleRoadTest::SetUp();
    mRoot = mExamples.PathFor("farside");
    fs::copy(fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "farside", mRoot, fs::copy_options::recursive);
    farside::FarsideService::Settings settings;
    settings.root = mRoot;
    settings.tokens.Add("ann", kToken);
    settings.log = [this](const std::string& line) {
      std::lock_guard lock(mLogMutex);
      mLog.push_back(line);
    };
    mService = std::make_unique<farside::FarsideService>(std::move(settings));
    mService->Start();
    FarsideCL::LogIn(mService->Address(), kToken);
    KL::SetFarsideClientAvailable(true);
  }

  void TearDown() override {
    mClip.reset();
    ModuleRoadTest::TearDown();
    KL::SetFarsideClientAvailable(false);
    mService.reset();
  }

  // Opens the asset `linkText` links to into mClip, as a host that pastes a
  // link does, on a server of the family `type`.
  bool OpenByLink(const std::string& linkText,
                  tether::FarsideAssetServerType type = tether::kFarsideAssetServerTypeMarl) {
    InterfaceRef<KL::IMediaInfo> item;
    RL::BinaryData prefs;
    const int code = OpenFarsideLinkedAsset(ImmutableString("Trailer"), ImmutableString(linkText), item, prefs, type);
    mClip.emplace(std::move(item), std::move(prefs), code);
    return code == 0;
  }

  // Opens the asset `asset` of version 2 by its name into mClip, as tetherhost
  // opens a host-project asset named by the user.
  bool OpenByName(const std::string& asset) {
    tether::FarsideAssetRequestInfo request;
    request.serverAddress = mService->Address();
    request.credentialA = "ann";
    request.credentialB = kToken;
    request.authTokenType = "Bearer";
    request.production = "Trailer";
    request.version = "2";
    request.asset = asset;
    InterfaceRef<KL::IMediaInfo> item;
    RL::BinaryData prefs;
    const int code = OpenFarsideAsset(item, prefs, request, tether::kFarsideAssetServerTypeMarl, boost::none);
    mClip.emplace(std::move(item), std::move(prefs), code);
    return code == 0;
  }

  // Publishes version `version` of the production, a copy of version 2 whose
  // Titles background is `color`, and makes it the latest.
  void PublishVersion(const std::string& version, const std::string& color) {
    PublishVersion(version, "titles.marlp", "\"color\": [0.1, 0.1, 0.12, 1.0]", "\"color\": " + color);
  }

  // Publishes version `version`, a copy of version 2 in which `from` in the
  // asset file `file` reads `to`, and makes it the latest.
  void PublishVersion(const std::string& version, const std::string& file, const std::string& from,
                      const std::string& to) {
    const fs::path folder = mRoot / "Trailer" / version;
    fs::copy(mRoot / "Trailer" / "2", folder, fs::copy_options::recursive);
    std::string text = ReadText(folder / file);
    ASSERT_NE(text.find(from), std::string::npos);
    text.replace(text.find(from), from.size(), to);
    WriteText(folder / file, text);
    WriteText(mRoot / "Trailer" / "production.json", R"({"latest": ")" + version + R"(", "formerNames": ["Trailer draft"]})");
  }

  int32_t Refresh() const {
    const InterfaceRef<KL::IMediaFile> file(mClip->Item());
    return file->RefreshFile(file->GetFilePath());
  }

  Guid ContentState() const {
    Guid state;
    mClip->Video()->GetContentState(state);
    return state;
  }

  std::vector<uint8_t> FirstFramePixels() const {
    const RL::FrameFormat format = SettledBGRA();
    KL::IVideoSource::Frame frame;
    EXPECT_EQ(GetFrameAsTheHostDoes(*mClip, TickTime(0), format, frame), 0);
    if (!frame) return {};
    const auto* bytes = static_cast<const uint8_t*>(frame->GetData());
    return std::vector<uint8_t>(bytes, bytes + frame->GetDataSize());
  }

  // How many requests of `path` (with its query) the service has answered.
  size_t Requests(const std::string& path) {
    std::lock_guard lock(mLogMutex);
    size_t count = 0;
    for (const std::string& line : mLog) {
      if (line.find(" " + path) != std::string::npos) ++count;
    }
    return count;
  }

  // Waits until the service has logged `count` requests of `path`: it logs a
  // request once it has answered it, so the log may trail the answer.
  bool LoggedRequests(const std::string& path, size_t count) {
    return WaitUntil([&] { return Requests(path) >= count; });
  }

  fs::path mRoot;
  std::unique_ptr<farside::FarsideService> mService;
  std::mutex mLogMutex;
  std::vector<std::string> mLog;
};

TEST_P(FarsideRefreshTest, ANewVersionOfALinkedAssetChangesTheContentStateTheFrameAndThePixels) {
  ASSERT_TRUE(OpenByLink(kLatestTitlesLink)) << mClip->ImportResult();
  const Guid stateBefore = ContentState();
  const RL::FrameFormat format = SettledBGRA();
  const Guid frameBefore = mClip->FrameIdentifier(TickTime(0), format);
  const std::vector<uint8_t> pixelsBefore = FirstFramePixels();
  ItemMessages messages(*mClip->Item());

  PublishVersion("3", "[0.6, 0.1, 0.12, 1.0]");
  EXPECT_EQ(Refresh(), 0);

  ASSERT_TRUE(messages.WaitFor(1, 0));
  EXPECT_NE(ContentState(), stateBefore);
  EXPECT_NE(mClip->FrameIdentifier(TickTime(0), format), frameBefore);
  EXPECT_NE(FirstFramePixels(), pixelsBefore);
  // The server drew the new version: its stamp carries the new content state.
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(GetFrameAsTheHostDoes(*mClip, TickTime(0), format, frame), 0);
  const auto stamp = StampOf(frame);
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->contentState, ContentState());
  EXPECT_EQ(messages.Deleted(), 0);
}

TEST_P(FarsideRefreshTest, ANewVersionOfALinkedHostProjectReachesTheHostsSequenceToo) {
  ASSERT_TRUE(OpenByLink(R"({"production":"Trailer","mediaPath":"/Edits/Promo","version":"","asset":"Edit"})",
                         tether::kFarsideAssetServerTypeTolmen))
      << mClip->ImportResult();
  const Guid stateBefore = ContentState();
  ItemMessages messages(*mClip->Item());
  PublishVersion("3", "edit.tlmproj", "Coming soon", "Out now");
  EXPECT_EQ(Refresh(), 0);
  ASSERT_TRUE(messages.WaitFor(1, 0));
  EXPECT_NE(ContentState(), stateBefore);
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(GetFrameAsTheHostDoes(*mClip, TickTime(0), SettledBGRA(), frame), 0);
  const auto stamp = StampOf(frame);
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->contentState, ContentState());
  EXPECT_EQ(messages.Deleted(), 0);
}

TEST_P(FarsideRefreshTest, TwoNewVersionsInARowSendTwoChangedMessages) {
  ASSERT_TRUE(OpenByLink(kLatestTitlesLink)) << mClip->ImportResult();
  ItemMessages messages(*mClip->Item());
  PublishVersion("3", "[0.6, 0.1, 0.12, 1.0]");
  EXPECT_EQ(Refresh(), 0);
  ASSERT_TRUE(messages.WaitFor(1, 0));
  const Guid third = ContentState();
  PublishVersion("4", "[0.1, 0.6, 0.12, 1.0]");
  EXPECT_EQ(Refresh(), 0);
  ASSERT_TRUE(messages.WaitFor(2, 0));
  EXPECT_NE(ContentState(), third);
  EXPECT_EQ(messages.Deleted(), 0);
}

TEST_P(FarsideRefreshTest, AnUnchangedAssetSendsNoMessageAndIsNotFetchedAgain) {
  ASSERT_TRUE(OpenByLink(kLatestTitlesLink)) << mClip->ImportResult();
  const Guid stateBefore = ContentState();
  ItemMessages messages(*mClip->Item());
  ASSERT_TRUE(LoggedRequests("/v1/asset/file", 1));
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 6);
  EXPECT_EQ(Refresh(), 0);
  // The module says when the server's answer found nothing new.
  EXPECT_TRUE(WaitUntil([&] { return capture.Contains("TetherMediaInfo", "no changes detected"); }));
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 0);
  kilncore::messaging::PumpUIThreadMessages();
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_EQ(ContentState(), stateBefore);
  // The service was asked what the asset is, and the server's copy served.
  ASSERT_TRUE(LoggedRequests("/v1/asset?", 2));
  EXPECT_EQ(Requests("/v1/asset/file"), 1u);
}

TEST_P(FarsideRefreshTest, AnItemOpenedByItsAssetNameIsNeverRefreshed) {
  ASSERT_TRUE(OpenByName("Titles")) << mClip->ImportResult();
  const Guid stateBefore = ContentState();
  ItemMessages messages(*mClip->Item());
  ASSERT_TRUE(LoggedRequests("/v1/asset?", 1));
  PublishVersion("3", "[0.6, 0.1, 0.12, 1.0]");
  // Its path is the asset's name, no file; neither it nor an empty path makes
  // the module ask the server or give up the item.
  EXPECT_EQ(Refresh(), 0);
  const InterfaceRef<KL::IMediaFile> file(mClip->Item());
  EXPECT_EQ(file->RefreshFile(u""), 0);

  // A linked item opened and refreshed afterwards is answered; by then a
  // request of the named item would have been seen too.
  const HostClip named = *mClip;
  ASSERT_TRUE(OpenByLink(kLatestTitlesLink)) << mClip->ImportResult();
  // Its opening asked the service once.
  ASSERT_TRUE(LoggedRequests("/v1/asset?", 2));
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 6);
  EXPECT_EQ(Refresh(), 0);
  EXPECT_TRUE(WaitUntil([&] { return capture.Contains("TetherMediaInfo", "no changes detected"); }));
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 0);
  kilncore::messaging::PumpUIThreadMessages();
  ASSERT_TRUE(LoggedRequests("/v1/asset?", 3));
  EXPECT_EQ(Requests("/v1/asset?"), 3u) << "the two openings and the linked item's refresh, no more";
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(messages.Deleted(), 0);
  Guid namedState;
  named.Video()->GetContentState(namedState);
  EXPECT_EQ(namedState, stateBefore);
}

TEST_P(FarsideRefreshTest, ARefreshWithTheServiceDownMakesTheItemOfflineWithoutHanging) {
  ASSERT_TRUE(OpenByLink(kLatestTitlesLink)) << mClip->ImportResult();
  const Guid stateBefore = ContentState();
  ItemMessages messages(*mClip->Item());
  mService->Stop();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Refresh(), 0);
  // The refresh itself never waits for the service.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  ASSERT_TRUE(messages.WaitFor(0, 1));
  EXPECT_EQ(messages.Changed(), 0);
  // The item stays usable with what the server read last.
  EXPECT_EQ(ContentState(), stateBefore);
  EXPECT_FALSE(FirstFramePixels().empty());
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(FarsideRefreshTest);

}  // namespace
}  // namespace TetherMedia::integration
