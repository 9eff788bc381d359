#include <FarsideCL/FarsideDataServer.h>
#include <FarsideCL/IFarsideCDataServer.h>

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <thread>

namespace {

using FarsideCL::FarsideDataServer;
using FarsideCL::FarsideLinkedAssetProperties;
using FarsideCL::FarsideSCredentials;
using FarsideCL::IFarsideCDataServer;
using kilncore::utility::ImmutableString;

class LoggedInServerTest : public ::testing::Test {
 protected:
  void TearDown() override { IFarsideCDataServer::SetLoggedInServer(nullptr); }
};

TEST_F(LoggedInServerTest, NobodyIsLoggedInAtFirst) {
  EXPECT_TRUE(IFarsideCDataServer::GetLoggedInServerRef().IsNull());
}

TEST_F(LoggedInServerTest, LoggedInServerAnswersWhatTheHostConfigured) {
  auto server = std::make_shared<FarsideDataServer>();
  server->SetServerAddress(ImmutableString("https://farside.example"));
  server->SetCredentials(
      FarsideSCredentials(ImmutableString("ann"), ImmutableString("s3cret"), ImmutableString("Bearer")));
  server->SetServerProperties({{ImmutableString("region"), ImmutableString("eu")}});
  IFarsideCDataServer::SetLoggedInServer(server);

  const auto loggedIn = IFarsideCDataServer::GetLoggedInServerRef();
  ASSERT_FALSE(loggedIn.IsNull());
  EXPECT_EQ(loggedIn->GetServerAddress(), ImmutableString("https://farside.example"));
  const FarsideSCredentials credentials = loggedIn->GetCredentials();
  EXPECT_EQ(credentials.GetAccount(), ImmutableString("ann"));
  EXPECT_EQ(credentials.GetSecret(), ImmutableString("s3cret"));
  EXPECT_EQ(credentials.GetAuthTokenType(), ImmutableString("Bearer"));
  const auto properties = loggedIn->GetServerProperties();
  ASSERT_EQ(properties.size(), 1u);
  EXPECT_EQ(properties.at(ImmutableString("region")), ImmutableString("eu"));
}

TEST_F(LoggedInServerTest, LoggingOutGivesANullReference) {
  IFarsideCDataServer::SetLoggedInServer(std::make_shared<FarsideDataServer>());
  IFarsideCDataServer::SetLoggedInServer(nullptr);
  EXPECT_TRUE(IFarsideCDataServer::GetLoggedInServerRef().IsNull());
}

TEST_F(LoggedInServerTest, LoginAndLookupRaceSafely) {
  constexpr int kRounds = 500;
  std::latch start(2);
  std::thread host([&] {
    start.arrive_and_wait();
    for (int i = 0; i < kRounds; ++i) {
      auto server = std::make_shared<FarsideDataServer>();
      server->SetServerAddress(ImmutableString("https://farside.example"));
      IFarsideCDataServer::SetLoggedInServer(server);
      if (i % 3 == 0) IFarsideCDataServer::SetLoggedInServer(nullptr);
    }
  });
  start.arrive_and_wait();
  for (int i = 0; i < kRounds; ++i) {
    const auto server = IFarsideCDataServer::GetLoggedInServerRef();
    if (server) {
      EXPECT_EQ(server->GetServerAddress(), ImmutableString("https://farside.example"));
    }
  }
  host.join();
}

TEST(FarsideDataServerTest, NoLookupGivesNoLocator) {
  FarsideDataServer server;
  EXPECT_TRUE(server.GetMediaLocator(ImmutableString("/m"), ImmutableString("/p")).IsNull());
}

TEST(FarsideDataServerTest, LocatorAnswersWhatTheLookupFound) {
  FarsideDataServer server;
  server.SetMediaLookup([](const ImmutableString& mediaPath, const ImmutableString& productionPath)
                            -> std::optional<FarsideLinkedAssetProperties> {
    if (productionPath != ImmutableString("/prod/Moved")) return std::nullopt;
    return FarsideLinkedAssetProperties{ImmutableString("Moved"), mediaPath};
  });

  const auto found = server.GetMediaLocator(ImmutableString("/Shots/A"), ImmutableString("/prod/Moved"));
  ASSERT_FALSE(found.IsNull());
  const auto properties = found->GetLinkedAssetProperties();
  ASSERT_TRUE(properties.has_value());
  EXPECT_EQ(properties->production, ImmutableString("Moved"));
  EXPECT_EQ(properties->mediaPath, ImmutableString("/Shots/A"));

  const auto unknown = server.GetMediaLocator(ImmutableString("/Shots/A"), ImmutableString("/prod/Other"));
  ASSERT_FALSE(unknown.IsNull());
  EXPECT_FALSE(unknown->GetLinkedAssetProperties().has_value());
}

}  // namespace
