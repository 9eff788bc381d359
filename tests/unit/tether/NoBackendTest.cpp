#include "ScriptedTestSupport.h"

#include <tether/Backend.h>
#include <tether/DarkslideServer.h>
#include <tether/EaselServer.h>
#include <tether/SprocketServer.h>
#include <tether/TolmenServer.h>

#include <gtest/gtest.h>

namespace {

using namespace tether;
using tether::testing::support::Catcher;

TEST(NoBackendTest, EveryServerFailsLaterOnAnotherThreadWithNoBackendStatus) {
  InstallBackend(nullptr);
  ASSERT_EQ(GetBackend(), nullptr);
  Catcher<MarlServer> marl;
  Catcher<SprocketServer> sprocket;
  Catcher<TolmenServer> tolmen;
  Catcher<EaselServer> easel;
  Catcher<DarkslideServer> darkslide;
  MarlServer::CreateTetherServer(marl.Callback(), kServerConnectionTypeDefault);
  SprocketServer::CreateTetherServer(sprocket.Callback(), kServerConnectionTypeAlternate);
  TolmenServer::CreateTetherServer(tolmen.Callback());
  EaselServer::CreateTetherServer(easel.Callback());
  DarkslideServer::CreateTetherServer(darkslide.Callback());

  const auto caller = std::this_thread::get_id();
  auto check = [caller](const auto& answer) {
    EXPECT_EQ(answer.status, kConnectionStatusNoBackend);
    EXPECT_EQ(answer.object, nullptr);
    EXPECT_NE(answer.thread, caller);
  };
  check(marl.Get());
  check(sprocket.Get());
  check(tolmen.Get());
  check(easel.Get());
  check(darkslide.Get());
}

TEST(NoBackendTest, EmptyCallbackIsIgnored) {
  InstallBackend(nullptr);
  EXPECT_NO_THROW(MarlServer::CreateTetherServer(nullptr));
}

}  // namespace
