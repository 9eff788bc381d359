#include <FarsideCL/AssetDependencies.h>
#include <FarsideCL/FarsideHttp.h>
#include <FarsideCL/FarsideLinkedAsset.h>
#include <FarsideCL/FarsideLogin.h>
#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/FarsideServiceError.h>
#include <FarsideCL/IFarsideCDataServer.h>

#include <FarsideService.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>

namespace {

using FarsideCL::FarsideServiceClient;
using FarsideCL::FarsideServiceError;
using FarsideCL::IFarsideCDataServer;
using kilncore::utility::ImmutableString;

const std::filesystem::path kRoot = std::filesystem::path(TETHER_TEST_EXAMPLES_FOLDER) / "farside";
constexpr char kToken[] = "t0ken-of-ann";

// The reference service on a free loopback port, with a log kept for the test.
class FarsideServiceClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    farside::FarsideService::Settings settings;
    settings.root = kRoot;
    settings.tokens.Add("ann", kToken);
    settings.tokens.Add("bob", "expired-token", std::chrono::system_clock::now() - std::chrono::hours(1));
    settings.log = [this](const std::string& line) {
      {
        std::lock_guard lock(mLogMutex);
        mLog += line + "\n";
      }
      mLogged.notify_all();
    };
    mService = std::make_unique<farside::FarsideService>(std::move(settings));
    mService->Start();
  }

  void TearDown() override {
    IFarsideCDataServer::SetLoggedInServer(nullptr);
    mService.reset();
  }

  FarsideServiceClient Client(const std::string& token = kToken) const {
    return FarsideServiceClient(mService->Address(),
                                FarsideCL::FarsideSCredentials(ImmutableString("ann"), ImmutableString(token),
                                                               ImmutableString("Bearer")));
  }

  std::string Log() {
    std::lock_guard lock(mLogMutex);
    return mLog;
  }

  // The log once it holds `lines` lines (or after 10 s): the service writes a
  // request's line after it has answered, so the answer can come first.
  std::string LogOfAtLeast(size_t lines) {
    std::unique_lock lock(mLogMutex);
    mLogged.wait_for(lock, std::chrono::seconds(10), [&] {
      return static_cast<size_t>(std::count(mLog.begin(), mLog.end(), '\n')) >= lines;
    });
    return mLog;
  }

  // The error that `call` throws; fails the test if it throws none.
  template <class Call>
  static FarsideServiceError ErrorOf(Call call) {
    try {
      call();
    } catch (const FarsideServiceError& error) {
      return error;
    }
    ADD_FAILURE() << "no FarsideServiceError";
    return FarsideServiceError(-1, "");
  }

  std::unique_ptr<farside::FarsideService> mService;
  std::mutex mLogMutex;
  std::condition_variable mLogged;
  std::string mLog;
};

std::string FileText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST_F(FarsideServiceClientTest, LogInMakesTheTokensAccountTheLoggedInServer) {
  FarsideCL::LogIn(mService->Address(), kToken);
  const auto server = IFarsideCDataServer::GetLoggedInServerRef();
  ASSERT_TRUE(server);
  EXPECT_EQ(server->GetServerAddress().AsUTF8(), mService->Address());
  EXPECT_EQ(server->GetCredentials().GetAccount(), ImmutableString("ann"));
  EXPECT_EQ(server->GetCredentials().GetSecret(), ImmutableString(kToken));
  EXPECT_EQ(server->GetCredentials().GetAuthTokenType(), ImmutableString("Bearer"));
}

TEST_F(FarsideServiceClientTest, AWrongTokenIsRefusedWithTheServicesReasonAndNobodyIsLoggedIn) {
  const FarsideServiceError error = ErrorOf([&] { FarsideCL::LogIn(mService->Address(), "not-a-token"); });
  EXPECT_TRUE(error.IsUnauthorized());
  EXPECT_STREQ(error.what(), "Farside service: HTTP 401: the token is not known");
  EXPECT_FALSE(IFarsideCDataServer::GetLoggedInServerRef());
}

TEST_F(FarsideServiceClientTest, AnExpiredTokenIsRefusedAsExpired) {
  const FarsideServiceError error = ErrorOf([&] { Client("expired-token").WhoAmI(); });
  EXPECT_EQ(error.HttpStatus(), 401);
  EXPECT_STREQ(error.what(), "Farside service: HTTP 401: the token has expired");
}

TEST_F(FarsideServiceClientTest, ARequestWithoutATokenIsRefused) {
  FarsideCL::FarsideHttpRequest request;
  request.address = mService->Address();
  request.path = "/v1/productions";
  const FarsideCL::FarsideHttpResponse response = FarsideCL::FarsideHttpGet(request);
  EXPECT_EQ(response.status, 401);
}

TEST_F(FarsideServiceClientTest, TheLogNamesTheAccountButNeverTheToken) {
  Client().WhoAmI();
  ErrorOf([&] { Client("expired-token").WhoAmI(); });
  const std::string log = LogOfAtLeast(2);
  EXPECT_NE(log.find("GET /v1/whoami 200 ann"), std::string::npos) << log;
  EXPECT_EQ(log.find(kToken), std::string::npos) << log;
  EXPECT_EQ(log.find("expired-token"), std::string::npos) << log;
}

TEST_F(FarsideServiceClientTest, AProductionListsItsLatestVersionsAssetsWithTheirFamiliesAndLinks) {
  const FarsideCL::FarsideProductionListing listing = Client().ListProduction("Trailer", "");
  EXPECT_EQ(listing.version, "2");
  EXPECT_EQ(listing.versions, (std::vector<std::string>{"1", "2"}));
  ASSERT_EQ(listing.assets.size(), 2u);
  EXPECT_EQ(listing.assets[0].asset, "Titles");
  EXPECT_FALSE(listing.assets[0].IsHostProject());
  EXPECT_EQ(listing.assets[1].asset, "Edit");
  EXPECT_TRUE(listing.assets[1].IsHostProject());
  const auto link = FarsideCL::FarsideLinkedAsset::CreateFromString(listing.assets[1].linkedAsset);
  ASSERT_TRUE(link.IsValid());
  EXPECT_EQ(link.GetProduction(), ImmutableString("Trailer"));
  EXPECT_EQ(link.GetMediaPath(), ImmutableString("/Edits/Promo"));
  EXPECT_EQ(link.GetVersion(), ImmutableString("2"));
  EXPECT_EQ(link.GetAsset(), ImmutableString("Edit"));
}

TEST_F(FarsideServiceClientTest, AnOlderVersionListsItsOwnAssets) {
  EXPECT_EQ(Client().ListProduction("Trailer", "1").assets.size(), 1u);
}

TEST_F(FarsideServiceClientTest, AnAssetNameNamingNothingIsNotFoundWithTheServicesReason) {
  const FarsideServiceError error = ErrorOf([&] { Client().GetAsset("Trailer", "", "Credits"); });
  EXPECT_TRUE(error.IsNotFound());
  EXPECT_STREQ(error.what(), "Farside service: HTTP 404: no asset named 'Credits' in production 'Trailer'");
  EXPECT_TRUE(ErrorOf([&] { Client().GetAsset("../Trailer", "", "Edit"); }).IsNotFound());
  EXPECT_TRUE(ErrorOf([&] { Client().GetAsset("Trailer", "9", "Edit"); }).IsNotFound());
}

TEST_F(FarsideServiceClientTest, AnAssetsFileComesWhole) {
  EXPECT_EQ(Client().FetchAssetFile("Trailer", "2", "Edit"), FileText(kRoot / "Trailer" / "2" / "edit.tlmproj"));
  EXPECT_EQ(Client().GetAsset("Trailer", "", "Titles").size, std::filesystem::file_size(kRoot / "Trailer" / "2" /
                                                                                         "titles.marlp"));
}

TEST_F(FarsideServiceClientTest, TheMediaLocatorFindsMediaOfARenamedProduction) {
  const auto server = FarsideCL::LogIn(mService->Address(), kToken);
  const auto locator = server->GetMediaLocator(ImmutableString("/Edits/Promo"), ImmutableString("Trailer draft"));
  ASSERT_TRUE(locator);
  const auto properties = locator->GetLinkedAssetProperties();
  ASSERT_TRUE(properties);
  EXPECT_EQ(properties->production, ImmutableString("Trailer"));
  const auto nowhere = server->GetMediaLocator(ImmutableString("/Nowhere"), ImmutableString("Trailer"));
  ASSERT_TRUE(nowhere);
  EXPECT_FALSE(nowhere->GetLinkedAssetProperties());
}

TEST_F(FarsideServiceClientTest, DependenciesAreAnsweredFromTheService) {
  const std::set<ImmutableString> titles{ImmutableString("Titles")};
  const std::set<ImmutableString> edit{ImmutableString("Edit")};
  EXPECT_FALSE(FarsideCL::IsAssetDependendedUpon(nullptr, ImmutableString("Trailer"), ImmutableString(),
                                                 ImmutableString("Edit"), titles))
      << "nobody is logged in yet";
  FarsideCL::LogIn(mService->Address(), kToken);
  EXPECT_TRUE(FarsideCL::IsAssetDependendedUpon(nullptr, ImmutableString("Trailer"), ImmutableString(),
                                                ImmutableString("Edit"), titles));
  EXPECT_FALSE(FarsideCL::IsAssetDependendedUpon(nullptr, ImmutableString("Trailer"), ImmutableString(),
                                                 ImmutableString("Titles"), edit));
  const ImmutableString linked(R"({"production":"Trailer","mediaPath":"/Edits/Promo","version":"2","asset":"Edit"})");
  EXPECT_TRUE(FarsideCL::IsAssetDependendedUpon(nullptr, ImmutableString("Other"), ImmutableString(), linked, titles));
}

TEST_F(FarsideServiceClientTest, AServiceThatIsDownIsReportedAsNotAnswering) {
  const std::string address = mService->Address();
  mService->Stop();
  const FarsideServiceError error = ErrorOf([&] { Client().WhoAmI(); });
  EXPECT_EQ(error.HttpStatus(), 0);
  EXPECT_EQ(std::string(error.what()).rfind("Farside service at " + address + " did not answer: ", 0), 0u)
      << error.what();
}

// A socket that takes connections into its queue and never answers them.
class SilentListener {
 public:
  SilentListener() {
    mSocket = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    listen(mSocket, 8);
    socklen_t length = sizeof(address);
    getsockname(mSocket, reinterpret_cast<sockaddr*>(&address), &length);
    mPort = ntohs(address.sin_port);
  }
  ~SilentListener() { close(mSocket); }
  std::string Address() const { return "http://127.0.0.1:" + std::to_string(mPort); }

 private:
  int mSocket = -1;
  uint16_t mPort = 0;
};

TEST_F(FarsideServiceClientTest, ASlowServiceEndsInATimeoutRatherThanAHang) {
  const SilentListener silent;
  FarsideServiceClient::Timeouts timeouts;
  timeouts.read = std::chrono::milliseconds(200);
  const FarsideServiceClient client(silent.Address(), FarsideCL::FarsideSCredentials(), timeouts);
  const auto start = std::chrono::steady_clock::now();
  const FarsideServiceError error = ErrorOf([&] { client.WhoAmI(); });
  EXPECT_EQ(error.HttpStatus(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(FarsideTimeoutsTest, TheEnvironmentShortensTheWaitsAndNonsenseKeepsTheDefaults) {
  setenv("FARSIDE_READ_TIMEOUT_MS", "150", 1);
  setenv("FARSIDE_CONNECT_TIMEOUT_MS", "soon", 1);
  const FarsideServiceClient::Timeouts timeouts = FarsideServiceClient::Timeouts::FromEnvironment();
  unsetenv("FARSIDE_READ_TIMEOUT_MS");
  unsetenv("FARSIDE_CONNECT_TIMEOUT_MS");
  EXPECT_EQ(timeouts.read, std::chrono::milliseconds(150));
  EXPECT_EQ(timeouts.connect, FarsideServiceClient::Timeouts{}.connect);
}

TEST(FarsideServiceAnswersTest, GarbageIsAClearErrorNotACrash) {
  kilncore::utility::ScopedSeam garbage(FarsideCL::FarsideHttpGetSeam(), [](const FarsideCL::FarsideHttpRequest&) {
    return FarsideCL::FarsideHttpResponse{200, "<html>surprise</html>", ""};
  });
  const FarsideServiceClient client("http://127.0.0.1:1", FarsideCL::FarsideSCredentials());
  try {
    client.GetAsset("Trailer", "", "Edit");
    FAIL() << "garbage was taken for an asset";
  } catch (const FarsideServiceError& error) {
    EXPECT_EQ(error.HttpStatus(), 200);
    EXPECT_EQ(std::string(error.what()).rfind("Farside service: the answer for an asset is not JSON", 0), 0u)
        << error.what();
  }
}

TEST(FarsideServiceAnswersTest, AnAnswerMissingAMemberSaysWhichOne) {
  kilncore::utility::ScopedSeam partial(FarsideCL::FarsideHttpGetSeam(), [](const FarsideCL::FarsideHttpRequest&) {
    return FarsideCL::FarsideHttpResponse{200, R"({"production":"P","version":"1","asset":"A","family":"marl"})", ""};
  });
  const FarsideServiceClient client("http://127.0.0.1:1", FarsideCL::FarsideSCredentials());
  try {
    client.GetAsset("P", "", "A");
    FAIL();
  } catch (const FarsideServiceError& error) {
    EXPECT_STREQ(error.what(), "Farside service: the answer for an asset has no \"file\"");
  }
}

TEST(FarsideServiceAnswersTest, AServerErrorCarriesTheServicesMessageOrSaysThereIsNone) {
  std::string body = R"({"error":"disk on fire"})";
  kilncore::utility::ScopedSeam failing(FarsideCL::FarsideHttpGetSeam(),
                                        [&body](const FarsideCL::FarsideHttpRequest&) {
                                          return FarsideCL::FarsideHttpResponse{500, body, ""};
                                        });
  const FarsideServiceClient client("http://127.0.0.1:1", FarsideCL::FarsideSCredentials());
  try {
    client.ListProduction("P", "");
    FAIL();
  } catch (const FarsideServiceError& error) {
    EXPECT_EQ(error.HttpStatus(), 500);
    EXPECT_STREQ(error.what(), "Farside service: HTTP 500: disk on fire");
  }
  body = "Internal Server Error";
  try {
    client.ListProduction("P", "");
    FAIL();
  } catch (const FarsideServiceError& error) {
    EXPECT_STREQ(error.what(), "Farside service: HTTP 500: no reason given");
  }
}

TEST(FarsideServiceAnswersTest, RequestsCarryTheTokenTypeAndSecret) {
  kilncore::utility::ScopedSeam watch(FarsideCL::FarsideHttpGetSeam(), [](const FarsideCL::FarsideHttpRequest&) {
    return FarsideCL::FarsideHttpResponse{200, R"({"account":"ann"})", ""};
  });
  const FarsideServiceClient client(
      "http://127.0.0.1:1", FarsideCL::FarsideSCredentials(ImmutableString("ann"), ImmutableString("s3cret"),
                                                           ImmutableString("Token")));
  EXPECT_EQ(client.WhoAmI(), "ann");
  ASSERT_EQ(watch.Calls().size(), 1u);
  EXPECT_EQ(std::get<0>(watch.Calls()[0]).authorization, "Token s3cret");
  EXPECT_EQ(std::get<0>(watch.Calls()[0]).path, "/v1/whoami");
}

}  // namespace
