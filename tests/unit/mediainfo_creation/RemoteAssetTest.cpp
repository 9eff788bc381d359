// Items made from remote assets of the Farside service.

#include "CreationTestSupport.h"

#include <requests/RequestTableForTesting.h>

#include <FarsideCL/FarsideDataServer.h>
#include <FarsideCL/IFarsideCDataServer.h>
#include <KL/FarsideAvailability.h>
#include <RL/MediaType.h>
#include <TetherMedia/FarsideAssets.h>
#include <TetherMedia/RequestFutures.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <kilncore/utility/HashValueMixerState.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <optional>
#include <string>

namespace TetherMedia {
namespace {

using namespace testing_support;
using kilncore::utility::ImmutableString;
using tether::testing::CreateServerArgs;
using tether::testing::OpenFarsideAssetArgs;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

// The Guid of a running hash over `parts`, each fed as its bytes.
template <class... Parts>
kilncore::utility::Guid HashOf(const Parts&... parts) {
  kilncore::utility::HashValueMixerState state;
  (kilncore::utility::UpdateHashState(state, parts.data(), parts.size() * sizeof(parts[0])), ...);
  kilncore::utility::Guid guid;
  kilncore::utility::GetHashResult(state, guid);
  return guid;
}

tether::FarsideAssetRequestInfo Request(std::string production, std::string version,
                                        std::string asset) {
  tether::FarsideAssetRequestInfo request;
  request.serverAddress = "https://farside.example";
  request.production = std::move(production);
  request.version = std::move(version);
  request.asset = std::move(asset);
  return request;
}

class RemoteAssetTest : public ::testing::Test {
 protected:
  void SetUp() override { KL::SetFarsideClientAvailable(true); }
  void TearDown() override { KL::SetFarsideClientAvailable(false); }
  ScopedBackend mBackend;
};

TEST_F(RemoteAssetTest, RemoteItemOpensItsAssetWithoutAProject) {
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  const auto request = Request("Trailer", "v3", "Titles");
  ASSERT_EQ(TetherMediaInfo::Create(item, request, tether::kFarsideAssetServerTypeMarl, prefs, boost::none), 0);
  EXPECT_FALSE(item->GetProject());
  EXPECT_TRUE(Access::HasLinkedSource(*item));
  EXPECT_EQ(mBackend->CallCount(Operation::kGetSource), 0u);
  ASSERT_EQ(mBackend->CallCount(Operation::kOpenFarsideAsset), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kOpenFarsideAsset)[0].Args<OpenFarsideAssetArgs>().request, request);
  // A versioned asset takes the other road.
  EXPECT_EQ(mBackend->Calls(Operation::kCreateMarlServer)[0].Args<CreateServerArgs>().connectionType,
            tether::kServerConnectionTypeAlternate);
  EXPECT_EQ(item->GetFilePath(), u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Titles\"}");
  EXPECT_EQ(item->GetInstanceString(), item->GetFilePath());
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 1u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 1u);
  EXPECT_EQ(item->GetNumStreams(kilncore::utility::Guid::CreateUnique()), 0u);
}

TEST_F(RemoteAssetTest, TolmenServerTypeOpensOnTolmen) {
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, Request("P", "", "A"), tether::kFarsideAssetServerTypeTolmen,
                                    prefs, boost::none),
            0);
  ASSERT_EQ(mBackend->CallCount(Operation::kCreateTolmenServer), 1u);
  EXPECT_EQ(mBackend->Calls(Operation::kCreateTolmenServer)[0].Args<CreateServerArgs>().connectionType,
            tether::kServerConnectionTypeDefault);
}

TEST_F(RemoteAssetTest, EmptyPrefsGetTheSameMadeUpSourceForTheSameAsset) {
  RL::BinaryData first;
  RL::BinaryData second;
  RL::BinaryData other;
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, Request("P", "v1", "A"), tether::kFarsideAssetServerTypeMarl, first, boost::none), 0);
  ASSERT_EQ(TetherMediaInfo::Create(item, Request("Q", "v2", "A"), tether::kFarsideAssetServerTypeMarl, second, boost::none), 0);
  ASSERT_EQ(TetherMediaInfo::Create(item, Request("P", "v1", "B"), tether::kFarsideAssetServerTypeMarl, other, boost::none), 0);
  // Filled: the made-up source, then the options of the Marl item.
  EXPECT_GE(first.GetSize(), 72u);
  EXPECT_EQ(PrefsToSourceID(first), PrefsToSourceID(second));
  EXPECT_NE(PrefsToSourceID(first), PrefsToSourceID(other));
  EXPECT_NE(PrefsToSourceID(first), kilncore::utility::Guid());
}

TEST_F(RemoteAssetTest, MadeUpSourceIsTheHashOfTheFactorysNameAndTheAsset) {
  RL::BinaryData prefs;
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, Request("P", "v1", "Titles"), tether::kFarsideAssetServerTypeMarl,
                                    prefs, boost::none),
            0);
  EXPECT_EQ(PrefsToSourceID(prefs),
            HashOf(std::string("TetherMedia::TetherMediaInfo::Create"), std::string("Titles")));
}

TEST_F(RemoteAssetTest, DocumentIdentityHashesTheLinkedTextAsUtf16OrTheNameAsUtf8) {
  const std::string kPrefix = "Tether Document ID";
  ItemRef linked = Access::MakeItem();
  Access::SetAssetRequest(*linked, Request("P", "v1", "A"), ImmutableString("{\"linked\":1}"));
  EXPECT_EQ(linked->GetDocumentID(), HashOf(kPrefix, std::u16string(u"{\"linked\":1}"), std::string("v1")));
  ItemRef named = Access::MakeItem();
  Access::SetAssetRequest(*named, Request("P", "v1", "A"), boost::none);
  EXPECT_EQ(named->GetDocumentID(),
            HashOf(kPrefix, std::string("P"), std::string("v1"), std::string("A")));
}

TEST_F(RemoteAssetTest, RemoteItemIsNamedByItsSourceAndTheAssetsDisplayName) {
  const auto request = Request("Trailer", "v3", "Titles");
  tether::testing::ScriptedSourceSetup setup = tether::testing::ScriptedSourceSetup::Typical();
  setup.info.assetRequest = request;
  setup.info.assetDisplayName = u"Shots/Titles";
  mBackend->SetSource("Titles", setup);
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  ASSERT_EQ(TetherMediaInfo::Create(item, request, tether::kFarsideAssetServerTypeMarl, prefs, boost::none), 0);
  EXPECT_EQ(item->GetMediaDisplayName(), setup.info.name + u"/Shots/Titles");

  setup.info.assetDisplayName.clear();
  mBackend->SetSource("Titles", setup);
  prefs = UniquePrefs();
  ASSERT_EQ(TetherMediaInfo::Create(item, request, tether::kFarsideAssetServerTypeMarl, prefs, boost::none), 0);
  EXPECT_EQ(item->GetMediaDisplayName(), setup.info.name);
}

TEST_F(RemoteAssetTest, RemoteItemWithoutLinkedSourceHasNoStreams) {
  ItemRef item = Access::MakeItem();
  Access::SetAssetRequest(*item, Request("P", "v1", "A"), boost::none);
  Access::SetSource(*item, nullptr);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 0u);
}

TEST_F(RemoteAssetTest, CreationIsTracedWithTheSourceAndTheOptions) {
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMedia", 6);
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  const int32_t result =
      TetherMediaInfo::Create(item, Request("P", "v1", "A"), tether::kFarsideAssetServerTypeMarl, prefs, boost::none);
  kilncore::debug::SetTraceLevel("TetherMedia", -1);
  ASSERT_EQ(result, 0);
  std::vector<std::string> lines;
  for (const auto& line : capture.Lines()) {
    if (line.channel == "TetherMedia" && line.text.rfind("TetherMediaInfo::Create", 0) == 0) {
      EXPECT_EQ(line.level, 6);
      lines.push_back(line.text);
    }
  }
  EXPECT_EQ(lines, std::vector<std::string>{"TetherMediaInfo::Create: SourceID=" + ItemID().AsUTF8String() +
                                            ", appSpecificRenderOptions="});
}

TEST_F(RemoteAssetTest, UnknownServerTypeFailsAfterRegisteringAndLeavesNothingOpen) {
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  EXPECT_EQ(TetherMediaInfo::Create(item, Request("P", "v1", "A"), static_cast<tether::FarsideAssetServerType>(2),
                                    prefs, boost::none),
            kNotOffered);
  EXPECT_TRUE(item);
  EXPECT_TRUE(mBackend->Calls().empty());
  item.Reset();
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(RemoteAssetTest, UnknownServerTypeRegistersItsRequestBeforeRefusing) {
  // A request already open under the item's key loses its entry when another
  // is registered under that key, which shows that the refusal came after the
  // registration.
  const kilncore::WideString name = u"{\"production\":\"P\",\"version\":\"v1\",\"asset\":\"A\"}";
  const auto open = CreateRequestFuture(name, ItemID());
  ASSERT_EQ(GetPendingRequestCountForTesting(), 1u);
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  EXPECT_EQ(TetherMediaInfo::Create(item, Request("P", "v1", "A"), static_cast<tether::FarsideAssetServerType>(2),
                                    prefs, boost::none),
            kNotOffered);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(RemoteAssetTest, UnavailableClientRefusesRemoteItems) {
  KL::SetFarsideClientAvailable(false);
  RL::BinaryData prefs = ItemPrefs();
  ItemRef item;
  EXPECT_EQ(TetherMediaInfo::Create(item, Request("P", "v1", "A"), tether::kFarsideAssetServerTypeMarl, prefs, boost::none),
            kNotOffered);
  EXPECT_FALSE(item);
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(OpenFarsideLinkedAsset(ImmutableString(), ImmutableString("x"), result, prefs,
                                   tether::kFarsideAssetServerTypeMarl),
            kNotOffered);
}

TEST_F(RemoteAssetTest, DocumentIdentityFollowsTheAssetsName) {
  auto identity = [](const tether::FarsideAssetRequestInfo& request,
                     const boost::optional<ImmutableString>& text) {
    ItemRef item = Access::MakeItem();
    Access::SetAssetRequest(*item, request, text);
    return item->GetDocumentID();
  };
  const boost::optional<ImmutableString> text(ImmutableString("{\"linked\":1}"));
  EXPECT_NE(identity(Request("P", "v1", "A"), text), identity(Request("P", "v2", "A"), text));
  // With the linked text, the production plays no part.
  EXPECT_EQ(identity(Request("P", "v1", "A"), text), identity(Request("Q", "v1", "A"), text));
  EXPECT_NE(identity(Request("P", "v1", "A"), boost::none), identity(Request("Q", "v1", "A"), boost::none));
  EXPECT_EQ(identity(Request("P", "v1", "A"), boost::none), identity(Request("P", "v1", "A"), boost::none));
}

TEST_F(RemoteAssetTest, InstanceStringIsTheLinkedTextWhenThereIsOne) {
  ItemRef item = Access::MakeItem();
  Access::SetAssetRequest(*item, Request("P", "v1", "A"), ImmutableString("{\"linked\":1}"));
  EXPECT_EQ(item->GetInstanceString(), u"{\"linked\":1}");
  KL::SetFarsideClientAvailable(false);
  EXPECT_EQ(item->GetInstanceString(), item->GetFilePath());
}

TEST_F(RemoteAssetTest, OpenFarsideAssetHandsBackTheItem) {
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(OpenFarsideAsset(result, prefs, Request("P", "v1", "A"), tether::kFarsideAssetServerTypeMarl,
                             boost::none),
            0);
  EXPECT_TRUE(result);
  EXPECT_TRUE(result->IsLinkedMedia());
  EXPECT_FALSE(prefs.IsEmpty());
}

// ---- Linked assets, reached through the data server the user is logged in to.

const ImmutableString kLinkedText(
    "{\"production\":\"Trailer\",\"mediaPath\":\"/Shots/Titles\",\"version\":\"v3\",\"asset\":\"Titles\"}");

class LinkedAssetTest : public RemoteAssetTest {
 protected:
  void SetUp() override {
    RemoteAssetTest::SetUp();
    mDataServer = std::make_shared<FarsideCL::FarsideDataServer>();
    mDataServer->SetServerAddress(ImmutableString("https://farside.example"));
    mDataServer->SetCredentials(
        FarsideCL::FarsideSCredentials(ImmutableString("editor"), ImmutableString("s3cret"), ImmutableString("Bearer")));
    mDataServer->SetServerProperties({{ImmutableString("region"), ImmutableString("eu")}});
    FarsideCL::IFarsideCDataServer::SetLoggedInServer(mDataServer);
  }
  void TearDown() override {
    FarsideCL::IFarsideCDataServer::SetLoggedInServer(nullptr);
    RemoteAssetTest::TearDown();
  }

  int Open(const ImmutableString& productionPath, const ImmutableString& text,
           kilncore::classref::InterfaceRef<KL::IMediaInfo>& result) {
    RL::BinaryData prefs;
    return OpenFarsideLinkedAsset(productionPath, text, result, prefs, tether::kFarsideAssetServerTypeMarl);
  }
  tether::FarsideAssetRequestInfo OpenedRequest() const {
    const auto opens = mBackend->Calls(Operation::kOpenFarsideAsset);
    EXPECT_EQ(opens.size(), 1u);
    return opens.empty() ? tether::FarsideAssetRequestInfo() : opens[0].Args<OpenFarsideAssetArgs>().request;
  }

  std::shared_ptr<FarsideCL::FarsideDataServer> mDataServer;
};

TEST_F(LinkedAssetTest, LinkedAssetIsOpenedWithTheLoggedInServersAccess) {
  std::atomic<int> lookups{0};
  mDataServer->SetMediaLookup([&](const ImmutableString&, const ImmutableString&) {
    ++lookups;
    return std::optional<FarsideCL::FarsideLinkedAssetProperties>();
  });
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Open(ImmutableString(), kLinkedText, result), 0);
  ASSERT_TRUE(result);
  // Without a production path there is nothing to locate.
  EXPECT_EQ(lookups.load(), 0);

  const tether::FarsideAssetRequestInfo request = OpenedRequest();
  EXPECT_EQ(request.production, "Trailer");
  EXPECT_EQ(request.version, "v3");
  EXPECT_EQ(request.asset, "Titles");
  EXPECT_EQ(request.serverAddress, "https://farside.example");
  EXPECT_EQ(request.credentialA, "editor");
  EXPECT_EQ(request.credentialB, "s3cret");
  EXPECT_EQ(request.authTokenType, "Bearer");
  EXPECT_EQ(request.serverProperties, (std::map<std::string, std::string>{{"region", "eu"}}));
  // The item names itself by the text it was made from.
  EXPECT_EQ(result->GetInstanceString(), kLinkedText.AsWide());
}

TEST_F(LinkedAssetTest, ProductionPathLetsTheLocatorFindWhereTheProductionMoved) {
  ImmutableString askedMediaPath;
  ImmutableString askedProductionPath;
  mDataServer->SetMediaLookup([&](const ImmutableString& mediaPath, const ImmutableString& productionPath) {
    askedMediaPath = mediaPath;
    askedProductionPath = productionPath;
    return std::optional<FarsideCL::FarsideLinkedAssetProperties>(
        FarsideCL::FarsideLinkedAssetProperties{ImmutableString("Trailer Archive"), mediaPath});
  });
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Open(ImmutableString("/productions/2026"), kLinkedText, result), 0);
  EXPECT_EQ(askedMediaPath, ImmutableString("/Shots/Titles"));
  EXPECT_EQ(askedProductionPath, ImmutableString("/productions/2026"));
  EXPECT_EQ(OpenedRequest().production, "Trailer Archive");
}

TEST_F(LinkedAssetTest, LocatorThatKnowsNothingKeepsTheTextsProduction) {
  mDataServer->SetMediaLookup([](const ImmutableString&, const ImmutableString&) {
    return std::optional<FarsideCL::FarsideLinkedAssetProperties>();
  });
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Open(ImmutableString("/productions/2026"), kLinkedText, result), 0);
  EXPECT_EQ(OpenedRequest().production, "Trailer");
}

TEST_F(LinkedAssetTest, UnusableTextOrNoLoginFailsBeforeAnyServerIsAsked) {
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Open(ImmutableString(), ImmutableString(), result), kGeneralFailure);
  EXPECT_EQ(Open(ImmutableString(), ImmutableString("{\"production\":\"Trailer\"}"), result), kGeneralFailure);
  FarsideCL::IFarsideCDataServer::SetLoggedInServer(nullptr);
  EXPECT_EQ(Open(ImmutableString(), kLinkedText, result), kGeneralFailure);
  EXPECT_FALSE(result);
  EXPECT_TRUE(mBackend->Calls().empty());
}

TEST_F(LinkedAssetTest, FailedLinkLeavesTheResultAlone) {
  mBackend->Script(Operation::kOpenFarsideAsset, tether::testing::Behaviour::Fail());
  const kilncore::classref::InterfaceRef<KL::IMediaInfo> earlier(Access::MakeItem());
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result = earlier;
  EXPECT_EQ(Open(ImmutableString(), kLinkedText, result), kNoLinkedSource);
  EXPECT_TRUE(result == earlier);
  RL::BinaryData prefs;
  EXPECT_EQ(OpenFarsideAsset(result, prefs, Request("P", "v1", "A"), tether::kFarsideAssetServerTypeMarl,
                             boost::none),
            kNoLinkedSource);
  EXPECT_TRUE(result == earlier);
}

}  // namespace
}  // namespace TetherMedia
