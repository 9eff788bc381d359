// The file types on offer in each application, and the import entry.

#include <module/TetherMediaModule.h>
#include <requests/RequestTableForTesting.h>

#include <Crate/ApplicationType.h>
#include <FarsideCL/FarsideDataServer.h>
#include <FarsideCL/IFarsideCDataServer.h>
#include <KL/FarsideAvailability.h>
#include <KL/IMediaInfo.h>
#include <KL/UnifiedProject.h>
#include <RL/BinaryData.h>
#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/MissingAssets.h>
#include <TetherMedia/Prefs.h>
#include <kilncore/config/UsageLogger.h>
#include <kilncore/debug/DebugDatabase.h>
#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScopedBackend.h>
#include <tether/testing/ScriptedProjectSetup.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace TetherMedia {
namespace {

constexpr int32_t kNothingToImport = static_cast<int32_t>(0xA00F000Eu);
constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
constexpr int32_t kFileMissing = static_cast<int32_t>(0xA00F0003u);

std::string Code(uint32_t fourCC) {
  return {static_cast<char>(fourCC >> 24), static_cast<char>(fourCC >> 16),
          static_cast<char>(fourCC >> 8), static_cast<char>(fourCC)};
}

std::vector<std::string> CodesIn(int32_t application) {
  Crate::ScopedApplicationType playing(application);
  std::vector<WF::ImportableFileType> types;
  TetherMediaModule().GetImportableFileTypes(types);
  std::vector<std::string> codes;
  for (const auto& type : types) {
    EXPECT_EQ(type.flags, 0xD008u);
    EXPECT_TRUE(type.subTypes.empty());
    codes.push_back(Code(type.fileType));
  }
  return codes;
}

int Import(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result, const kilncore::WideString& path,
           RL::BinaryData& prefs, bool hasPrefs) {
  bool changed = false;
  return TetherMediaModule().ImportFile(result, path, 0, 0, prefs, changed, hasPrefs, false, u"", 0,
                                        nullptr, 0, nullptr);
}

using Codes = std::vector<std::string>;

TEST(ImportableFileTypesTest, MarlOffersNoMarlProjectsOfItsOwn) {
  EXPECT_EQ(CodesIn(1), (Codes{"TMLN", "Spkt"}));
}

TEST(ImportableFileTypesTest, TolmenOffersNoTolmenProjectsOfItsOwn) {
  EXPECT_EQ(CodesIn(5), (Codes{"MrlP", "MrlX", "MrlC", "MrlG", "Spkt"}));
}

TEST(ImportableFileTypesTest, OwnProjectTypesAreOfferedWhileTheSettingAllowsThem) {
  auto& settings = kilncore::debug::DebugDatabase::Instance();
  settings.SetEntry("AllowTetherToOwnProjectType", "true");
  const Codes inMarl = CodesIn(1);
  const Codes inTolmen = CodesIn(5);
  settings.RemoveEntry("AllowTetherToOwnProjectType");
  EXPECT_EQ(inMarl, (Codes{"MrlP", "MrlX", "MrlC", "MrlG", "TMLN", "Spkt"}));
  EXPECT_EQ(inTolmen, (Codes{"MrlP", "MrlX", "MrlC", "MrlG", "TMLN", "Spkt"}));
  // Read again at each call: without the entry the own types are gone.
  EXPECT_EQ(CodesIn(1), (Codes{"TMLN", "Spkt"}));
}

TEST(ImportableFileTypesTest, Application11OffersCataloguesDocumentsAndXMLButNoSprocket) {
  EXPECT_EQ(CodesIn(11), (Codes{"MrlP", "MrlX", "MrlC", "MrlG", "TMLN", "DSLC", "ESD ", "FCPX"}));
}

TEST(ImportableFileTypesTest, Applications2And8OfferEverythingButTheCatalogueTypes) {
  const Codes expected{"MrlP", "MrlX", "MrlC", "MrlG", "TMLN", "Spkt"};
  EXPECT_EQ(CodesIn(2), expected);
  EXPECT_EQ(CodesIn(8), expected);
}

TEST(ImportableFileTypesTest, AppendsWithoutClearingAndNamesTheExtensions) {
  Crate::ScopedApplicationType playing(2);
  std::vector<WF::ImportableFileType> types(1);
  TetherMediaModule().GetImportableFileTypes(types);
  ASSERT_EQ(types.size(), 7u);
  EXPECT_EQ(types[1].extensions, u"*.marlp");
  EXPECT_EQ(types[1].description, u"Veldmoor Marl Projects (*.marlp)");
  EXPECT_EQ(types[5].extensions, u"*.tlmproj");
  EXPECT_EQ(types[6].extensions, u"*.spkproj");
}

TEST(ImportableFileTypesTest, UnifiedProjectsWidenTheTolmenRow) {
  Crate::ScopedApplicationType playing(2);
  KL::UnifiedProject::SetUnifiedProjectEnabled(true);
  std::vector<WF::ImportableFileType> types;
  TetherMediaModule().GetImportableFileTypes(types);
  KL::UnifiedProject::SetUnifiedProjectEnabled(false);
  ASSERT_EQ(types.size(), 6u);
  EXPECT_EQ(types[4].extensions, u"*.tlmproj;*.tlmprojx");
  EXPECT_EQ(types[4].description, u"All Tolmen Projects (*.tlmproj, *.tlmprojx)");
}

class ImportFileTest : public ::testing::Test {
 protected:
  void TearDown() override {
    SetSelectSource({});
    KL::SetFarsideClientAvailable(false);
  }
};

TEST_F(ImportFileTest, ExistingClipWithEmptyPrefsHasNothingToImportAndAsksNobody) {
  int asked = 0;
  SetSelectSource([&](kilncore::WideString&, kilncore::utility::Guid&) { return ++asked, 0; });
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, u"/nowhere/Show.marlp", prefs, true), kNothingToImport);
  EXPECT_EQ(asked, 0);
  EXPECT_FALSE(result);
}

TEST_F(ImportFileTest, NewClipWithoutSelectSourceFails) {
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, u"/nowhere/Show.marlp", prefs, false), kGeneralFailure);
}

TEST_F(ImportFileTest, CancelledSourceChoiceEndsWithItsCode) {
  constexpr int kCancelled = static_cast<int32_t>(0xA00F0007u);
  SetSelectSource([](kilncore::WideString&, kilncore::utility::Guid&) { return kCancelled; });
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, u"/nowhere/Show.marlp", prefs, false), kCancelled);
}

TEST_F(ImportFileTest, ChosenSourceBecomesThePrefs) {
  const kilncore::utility::Guid chosen = kilncore::utility::Guid::CreateUnique();
  SetSelectSource([&](kilncore::WideString&, kilncore::utility::Guid& id) { return id = chosen, 0; });
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, u"/nowhere/Show.marlp", prefs, false), kFileMissing);
  EXPECT_EQ(PrefsToSourceID(prefs), chosen);
}

TEST_F(ImportFileTest, LogsTheImportAsAUsageEvent) {
  auto logger = std::make_shared<kilncore::config::RecordingUsageLogger>();
  kilncore::config::ScopedUsageLogger installed(logger);
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  Import(result, u"/nowhere/Show.marlp", prefs, true);
  const auto events = logger->LoggedEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].workflow, "KILN");
  EXPECT_EQ(events[0].category, "Tether");
  EXPECT_EQ(events[0].operation, "Import");
  EXPECT_EQ(events[0].subject, "");
}

TEST_F(ImportFileTest, AssetNameIsAPlainPathWhileTheRemoteClientIsUnavailable) {
  const kilncore::WideString name = u"{\"production\":\"P\",\"version\":\"v1\",\"asset\":\"A\"}";
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  // Taken for a file: an existing clip with empty prefs has nothing to import.
  EXPECT_EQ(Import(result, name, prefs, true), kNothingToImport);
  // Taken for an asset: nobody is logged in.
  KL::SetFarsideClientAvailable(true);
  EXPECT_EQ(Import(result, name, prefs, true), static_cast<int32_t>(0xA00F000Fu));
}


// ---- Imports that reach a server (the scripted double).

constexpr int32_t kNoLoggedInServer = static_cast<int32_t>(0xA00F000Fu);
constexpr int32_t kNoLinkedSource = static_cast<int32_t>(0xA00703E9u);
constexpr char kTemplateChannel[] = "MOTION-GRAPHICS-TEMPLATE";

RL::BinaryData ItemPrefs() {
  return SourceIDToPrefs(kilncore::utility::Guid(u"6F1C2B3A-1111-4222-8333-944455556666"));
}

tether::MissingFont Font(std::string name) {
  tether::MissingFont font;
  font.identityA = std::move(name);
  font.identityB = "Regular";
  return font;
}

class ServerImportTest : public ::testing::Test {
 protected:
  ServerImportTest()
      : mFolder(std::filesystem::temp_directory_path() /
                ("tether-import-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    std::filesystem::create_directories(mFolder);
  }
  ~ServerImportTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
  }
  void SetUp() override { ResetMissingFonts(); }
  void TearDown() override {
    ResetMissingFonts();
    kilncore::debug::SetTraceLevel(kTemplateChannel, -1);
  }

  // Makes the project file `name` and gives its path.
  kilncore::WideString Make(const std::string& name) {
    const std::filesystem::path path = mFolder / name;
    std::ofstream(path) << "project";
    return kilncore::string::UTF8to16(path.string());
  }

  std::filesystem::path mFolder;
  tether::testing::ScopedBackend mBackend;
};

TEST_F(ServerImportTest, ImportedProjectReportsWhatItMisses) {
  const kilncore::WideString path = Make("Show.marlp");
  tether::testing::ScriptedProjectSetup project;
  project.missingAssets.fonts = {Font("Gill Sans")};
  mBackend->SetProject(kilncore::string::UTF16to8(path), project);
  RL::BinaryData prefs = ItemPrefs();
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Import(result, path, prefs, true), 0);
  ASSERT_TRUE(result);
  EXPECT_TRUE(result->IsLinkedMedia());
  EXPECT_EQ(GetMissingFonts(), std::vector<tether::MissingFont>{Font("Gill Sans")});
}

TEST_F(ServerImportTest, FailedImportReportsNothingAndGivesNoItem) {
  const kilncore::WideString path = Make("Show.marlp");
  tether::testing::ScriptedProjectSetup project;
  project.missingAssets.fonts = {Font("Gill Sans")};
  mBackend->SetProject(kilncore::string::UTF16to8(path), project);
  mBackend->Script(tether::testing::Operation::kGetSource,
                   tether::testing::Behaviour::Fail(tether::kConnectionStatusNotFound));
  RL::BinaryData prefs = ItemPrefs();
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, path, prefs, true), kNoLinkedSource);
  EXPECT_FALSE(result);
  EXPECT_TRUE(GetMissingFonts().empty());
}

TEST_F(ServerImportTest, SourceChoiceCannotRedirectTheImportToAnotherPath) {
  const kilncore::WideString elsewhere = Make("Other.marlp");
  SetSelectSource([&](kilncore::WideString& path, kilncore::utility::Guid& id) {
    path = elsewhere;
    id = kilncore::utility::Guid::CreateUnique();
    return 0;
  });
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  const int code = Import(result, kilncore::string::UTF8to16((mFolder / "Missing.marlp").string()), prefs, false);
  SetSelectSource({});
  EXPECT_EQ(code, kFileMissing);
  EXPECT_TRUE(mBackend->Calls().empty());
}

TEST_F(ServerImportTest, CancelImportFromAnotherThreadEndsTheImportPromptlyWithoutAnItem) {
  mBackend->Script(tether::testing::Operation::kOpenProject,
                   tether::testing::Behaviour().With(tether::testing::Delivery::kHold));
  const kilncore::WideString path = Make("Show.marlp");
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  auto importing = std::async(std::launch::async, [&] {
    RL::BinaryData prefs = ItemPrefs();
    return Import(result, path, prefs, true);
  });
  ASSERT_TRUE(mBackend->WaitForHeld(1));
  std::async(std::launch::async, [&] { TetherMediaModule().CancelImport(path, ItemPrefs()); }).get();

  ASSERT_EQ(importing.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(importing.get(), kNoLinkedSource);
  EXPECT_FALSE(result);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
  // The project that the server opens after all finds nobody to tell. The
  // first callback of the chain holds the item until the library's thread
  // has let go of it, which may come after the import returned: waited for.
  ASSERT_TRUE(mBackend->WaitForIdle());
  mBackend->ReleaseAllHeld();
  ASSERT_TRUE(mBackend->WaitForIdle());
  EXPECT_EQ(mBackend->CallCount(tether::testing::Operation::kGetSource), 0u);
  EXPECT_TRUE(mBackend->CallbackExceptions().empty());
}

TEST_F(ServerImportTest, GraphicsTemplateImportIsTracedWithItsFileName) {
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel(kTemplateChannel, 5);
  RL::BinaryData prefs = ItemPrefs();
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Import(result, Make("Lower Third.marlgraphic"), prefs, true), 0);
  size_t lines = 0;
  for (const auto& line : capture.Lines()) {
    if (line.channel != kTemplateChannel) continue;
    ++lines;
    EXPECT_EQ(line.level, 5);
    EXPECT_EQ(line.text, "Renderer is TETHER. marlgraphic filename: Lower Third");
  }
  EXPECT_EQ(lines, 1u);
}

TEST_F(ServerImportTest, OnlyGraphicsTemplatesAreTracedAndOnlyWhenAsked) {
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel(kTemplateChannel, 5);
  RL::BinaryData prefs = ItemPrefs();
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Import(result, Make("Show.marlp"), prefs, true), 0);
  // A lower level than the import's leaves the channel silent, and the site
  // notices the change of settings.
  kilncore::debug::SetTraceLevel(kTemplateChannel, 4);
  prefs = ItemPrefs();
  ASSERT_EQ(Import(result, Make("Title.marlgraphic"), prefs, true), 0);
  for (const auto& line : capture.Lines()) EXPECT_NE(line.channel, kTemplateChannel) << line.text;
}

// ---- The remote road.

class FarsideImportTest : public ServerImportTest {
 protected:
  void SetUp() override {
    ServerImportTest::SetUp();
    KL::SetFarsideClientAvailable(true);
    mDataServer = std::make_shared<FarsideCL::FarsideDataServer>();
    mDataServer->SetServerAddress(kilncore::utility::ImmutableString("https://farside.example"));
    mDataServer->SetCredentials(FarsideCL::FarsideSCredentials(kilncore::utility::ImmutableString("editor"),
                                                               kilncore::utility::ImmutableString("s3cret"),
                                                               kilncore::utility::ImmutableString("Bearer")));
    mDataServer->SetServerProperties({{kilncore::utility::ImmutableString("region"),
                                       kilncore::utility::ImmutableString("eu")}});
    FarsideCL::IFarsideCDataServer::SetLoggedInServer(mDataServer);
  }
  void TearDown() override {
    FarsideCL::IFarsideCDataServer::SetLoggedInServer(nullptr);
    KL::SetFarsideClientAvailable(false);
    ServerImportTest::TearDown();
  }

  std::shared_ptr<FarsideCL::FarsideDataServer> mDataServer;
};

const kilncore::WideString kAssetName = u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Titles\"}";

TEST_F(FarsideImportTest, AssetIsOpenedWithWhatTheDataServerKnows) {
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Import(result, kAssetName, prefs, false), 0);
  ASSERT_TRUE(result);
  EXPECT_FALSE(prefs.IsEmpty());

  const auto opens = mBackend->Calls(tether::testing::Operation::kOpenFarsideAsset);
  ASSERT_EQ(opens.size(), 1u);
  const auto& request = opens[0].Args<tether::testing::OpenFarsideAssetArgs>().request;
  EXPECT_EQ(request.production, "Trailer");
  EXPECT_EQ(request.version, "v3");
  EXPECT_EQ(request.asset, "Titles");
  EXPECT_EQ(request.serverAddress, "https://farside.example");
  EXPECT_EQ(request.credentialA, "editor");
  EXPECT_EQ(request.credentialB, "s3cret");
  EXPECT_EQ(request.authTokenType, "Bearer");
  EXPECT_EQ(request.serverProperties, (std::map<std::string, std::string>{{"region", "eu"}}));
}

TEST_F(FarsideImportTest, RemoteAssetNeverAsksForASourceChoice) {
  int asked = 0;
  SetSelectSource([&](kilncore::WideString&, kilncore::utility::Guid&) { return ++asked, 0; });
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Import(result, kAssetName, prefs, false), 0);
  EXPECT_EQ(asked, 0);
  SetSelectSource({});
}

TEST_F(FarsideImportTest, MarlOpensTolmenAssetsAndOtherHostsMarlAssets) {
  {
    Crate::ScopedApplicationType host(1);
    RL::BinaryData prefs;
    kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
    ASSERT_EQ(Import(result, kAssetName, prefs, true), 0);
    EXPECT_EQ(mBackend->CallCount(tether::testing::Operation::kCreateTolmenServer), 1u);
    EXPECT_EQ(mBackend->CallCount(tether::testing::Operation::kCreateMarlServer), 0u);
  }
  {
    // Another asset: the first one's request may still be leaving the table.
    Crate::ScopedApplicationType host(5);
    RL::BinaryData prefs;
    kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
    ASSERT_EQ(Import(result, u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Credits\"}", prefs,
                     true),
              0);
    EXPECT_EQ(mBackend->CallCount(tether::testing::Operation::kCreateMarlServer), 1u);
  }
}

TEST_F(FarsideImportTest, AssetWithoutVersionHasNothingToImport) {
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, u"{\"production\":\"Trailer\",\"version\":\"\",\"asset\":\"Titles\"}", prefs, true),
            kNothingToImport);
  EXPECT_FALSE(result);
  EXPECT_TRUE(mBackend->Calls().empty());
}

TEST_F(FarsideImportTest, FailedRemoteLinkLeavesResultAlone) {
  mBackend->Script(tether::testing::Operation::kCreateMarlServer,
                   tether::testing::Behaviour::Fail(tether::kConnectionStatusServerUnavailable));
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, kAssetName, prefs, true), kNoLinkedSource);
  EXPECT_FALSE(result);
}

TEST_F(FarsideImportTest, RemoteImportSkipsTheReportAndTheTrace) {
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel(kTemplateChannel, 5);
  // An asset name that also ends like a graphics template, to be sure the
  // remote road never looks at it as a file.
  const kilncore::WideString name =
      u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Lower.marlgraphic\"}";
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  ASSERT_EQ(Import(result, name, prefs, true), 0);
  EXPECT_TRUE(GetMissingFonts().empty());
  EXPECT_EQ(mBackend->CallCount(tether::testing::Operation::kGetMissingAssets), 0u);
  for (const auto& line : capture.Lines()) EXPECT_NE(line.channel, kTemplateChannel) << line.text;
}

TEST_F(FarsideImportTest, LoggedOutServerEndsTheRemoteRoad) {
  FarsideCL::IFarsideCDataServer::SetLoggedInServer(nullptr);
  RL::BinaryData prefs;
  kilncore::classref::InterfaceRef<KL::IMediaInfo> result;
  EXPECT_EQ(Import(result, kAssetName, prefs, true), kNoLoggedInServer);
  EXPECT_TRUE(mBackend->Calls().empty());
}

}  // namespace
}  // namespace TetherMedia
