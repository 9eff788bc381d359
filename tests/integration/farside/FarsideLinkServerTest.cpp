// The link server's road of remote assets against the reference service run
// in-process: what a session answers to server.open-farside-asset, with its
// reason, and that the server goes on serving after any failure.

#include <server/FailureReason.h>
#include <server/SessionProjectContent.h>

#include <FarsideService.h>

#include <FarsideCL/FarsideHttp.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>
#include <tether/wire/Protocol.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>

namespace {

namespace fs = std::filesystem;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;
constexpr char kToken[] = "link-server-token";

class FarsideLinkServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mCache = fs::temp_directory_path() / ("farside-link-test-" + kilncore::utility::Guid::CreateUnique().AsUTF8String());
    // The session's content finds its cache folder here when it is made.
    setenv("TETHER_SERVER_CACHE", mCache.c_str(), 1);
    farside::FarsideService::Settings settings;
    settings.root = kExamples / "farside";
    settings.tokens.Add("ann", kToken);
    settings.log = [this](const std::string& line) {
      std::lock_guard lock(mLogMutex);
      mLog += line + "\n";
    };
    mService = std::make_unique<farside::FarsideService>(std::move(settings));
    mService->Start();
    mContent = std::make_unique<tetherserver::SessionProjectContent>();
  }

  void TearDown() override {
    mService.reset();
    unsetenv("TETHER_SERVER_CACHE");
    std::error_code ignored;
    fs::remove_all(mCache, ignored);
  }

  tether::FarsideAssetRequestInfo Request(const std::string& asset, const std::string& token = kToken) const {
    tether::FarsideAssetRequestInfo request;
    request.serverAddress = mService->Address();
    request.credentialA = "ann";
    request.credentialB = token;
    request.authTokenType = "Bearer";
    request.production = "Trailer";
    request.asset = asset;
    return request;
  }

  struct Opened {
    std::shared_ptr<const tetherserver::SessionItem> item;
    int32_t status = -1;
    std::string reason;
  };

  Opened Open(const std::string& application, const tether::FarsideAssetRequestInfo& request) const {
    tetherserver::FailureReason::Scope scope;
    Opened opened;
    opened.item = mContent->OpenFarsideAsset(application, request, opened.status);
    opened.reason = scope.Text();
    return opened;
  }

  size_t FileFetches() {
    std::lock_guard lock(mLogMutex);
    size_t count = 0;
    for (size_t at = mLog.find("/v1/asset/file"); at != std::string::npos; at = mLog.find("/v1/asset/file", at + 1)) {
      ++count;
    }
    return count;
  }

  fs::path mCache;
  std::unique_ptr<farside::FarsideService> mService;
  std::unique_ptr<tetherserver::SessionProjectContent> mContent;
  std::mutex mLogMutex;
  std::string mLog;
};

TEST_F(FarsideLinkServerTest, EachFamilyOpensOnItsOwnApplicationsServer) {
  const Opened titles = Open("Marl", Request("Titles"));
  ASSERT_EQ(titles.status, 0) << titles.reason;
  const tether::SourceInfo titlesInfo = titles.item->Describe();
  EXPECT_EQ(titlesInfo.name, u"Simple 1080p25");
  EXPECT_EQ(titlesInfo.assetRequest.asset, "Titles");
  EXPECT_EQ(titlesInfo.assetRequest.version, "2") << "the latest version, as found";
  EXPECT_TRUE(titlesInfo.assetRequest.credentialB.empty()) << "the description keeps no secret";
  const Opened edit = Open("Tolmen", Request("Edit"));
  ASSERT_EQ(edit.status, 0) << edit.reason;
  EXPECT_EQ(edit.item->Describe().name, u"Promo 720p");
}

TEST_F(FarsideLinkServerTest, AnAssetOfTheOtherFamilyIsRefusedWithWhoOpensIt) {
  const Opened opened = Open("Marl", Request("Edit"));
  EXPECT_EQ(opened.status, tether::wire::kStatusNotSupported);
  EXPECT_FALSE(opened.item);
  EXPECT_EQ(opened.reason, "asset 'Edit' of production 'Trailer' is a host project, which a Tolmen server opens, not Marl");
}

TEST_F(FarsideLinkServerTest, TheFileIsFetchedOnceAndServedFromTheCacheAfterwards) {
  ASSERT_EQ(Open("Marl", Request("Titles")).status, 0);
  ASSERT_EQ(Open("Marl", Request("Titles")).status, 0);
  tetherserver::SessionProjectContent another;
  int32_t status = -1;
  ASSERT_TRUE(another.OpenFarsideAsset("Marl", Request("Titles"), status));
  EXPECT_EQ(FileFetches(), 1u);
}

TEST_F(FarsideLinkServerTest, FailuresCarryTheServicesReasonAndTheServerGoesOnServing) {
  const Opened refused = Open("Marl", Request("Titles", "stolen-token"));
  EXPECT_EQ(refused.status, tether::wire::kStatusFailed);
  EXPECT_EQ(refused.reason, "Farside service: HTTP 401: the token is not known");
  const Opened nothing = Open("Marl", Request("Credits"));
  EXPECT_EQ(nothing.status, tether::wire::kStatusNotFound);
  EXPECT_EQ(nothing.reason, "Farside service: HTTP 404: no asset named 'Credits' in production 'Trailer'");
  auto noService = Request("Titles");
  noService.serverAddress.clear();
  EXPECT_EQ(Open("Marl", noService).status, tether::wire::kStatusServerUnavailable);
  EXPECT_EQ(Open("Marl", Request("Titles")).status, 0);

  mService->Stop();
  const Opened down = Open("Marl", Request("Titles"));
  EXPECT_EQ(down.status, tether::wire::kStatusServerUnavailable);
  EXPECT_NE(down.reason.find("did not answer"), std::string::npos) << down.reason;
  // A production that is a file here still opens without any service.
  auto local = Request("Simple 1080p25");
  local.production = (kExamples / "simple.marlp").string();
  EXPECT_EQ(Open("Marl", local).status, 0);
}

// A service that breaks the API, played through the client's transport.
TEST_F(FarsideLinkServerTest, AShortFileOrAGarbageAnswerIsAFailureThatLeavesNoCopy) {
  std::string assetAnswer =
      R"({"production":"Trailer","version":"2","asset":"Titles","family":"marl","file":"titles.marlp","size":1000})";
  kilncore::utility::ScopedSeam broken(FarsideCL::FarsideHttpGetSeam(),
                                       [&assetAnswer](const FarsideCL::FarsideHttpRequest& request) {
                                         if (request.path == "/v1/asset/file") {
                                           return FarsideCL::FarsideHttpResponse{200, "{\"items\": [", ""};
                                         }
                                         return FarsideCL::FarsideHttpResponse{200, assetAnswer, ""};
                                       });
  const Opened shortFile = Open("Marl", Request("Titles"));
  EXPECT_EQ(shortFile.status, tether::wire::kStatusFailed);
  EXPECT_EQ(shortFile.reason, "Farside service: the file of asset 'Titles' came with 11 bytes of 1000");
  assetAnswer = "<html>502 Bad Gateway</html>";
  const Opened garbage = Open("Marl", Request("Titles"));
  EXPECT_EQ(garbage.status, tether::wire::kStatusFailed);
  EXPECT_EQ(garbage.reason.rfind("Farside service: the answer for an asset is not JSON", 0), 0u) << garbage.reason;
  if (fs::exists(mCache)) {
    for (const auto& entry : fs::recursive_directory_iterator(mCache)) {
      EXPECT_FALSE(entry.is_regular_file()) << entry.path();
    }
  }
}

}  // namespace
