#include <module/ModuleIdentifiers.h>
#include <module/TetherMediaModule.h>
#include <module/TetherMediaModuleCreator.h>

#include <requests/RequestTableForTesting.h>

#include <FarsideCL/FarsideAssetName.h>
#include <KL/FarsideAvailability.h>
#include <RL/BinaryData.h>
#include <TetherMedia/RequestFutures.h>
#include <WF/IMediaModule.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/config/Localizer.h>
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <barrier>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::classref::UnknownBase;
using kilncore::utility::Guid;

constexpr int32_t kUnsupported = static_cast<int32_t>(0xA00F000Cu);
constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);

// "TTHM" read as a number, and the same four bytes in the other order.
const kilncore::WideString kCodeKey = u"1414809677";
const kilncore::WideString kSwappedCodeKey = u"1296585812";
const kilncore::WideString kAssetName =
    u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Titles\"}";

class TetherMediaModuleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mRef = CreateTetherMediaModule();
    mModule = InterfaceRef<TetherMediaModule>(mRef);
    ASSERT_TRUE(mModule);
  }
  void TearDown() override {
    KL::SetFarsideClientAvailable(false);
    kilncore::config::Localizer::Get().ClearTranslations();
  }

  InterfaceRef<UnknownBase> mRef;
  InterfaceRef<TetherMediaModule> mModule;
};

TEST_F(TetherMediaModuleTest, NamesTheModule) {
  EXPECT_EQ(mModule->GetModuleName(), u"Tether Media");
  EXPECT_EQ(mModule->GetModuleDisplayName(), u"Tether Media");
}

TEST_F(TetherMediaModuleTest, DisplayNameIsLocalised) {
  kilncore::config::Localizer::Get().LoadTranslation("$$$/TetherMedia/ModuleDisplayName",
                                                     std::string_view("Médias liés"));
  EXPECT_EQ(mModule->GetModuleDisplayName(), u"Médias liés");
  EXPECT_EQ(mModule->GetModuleName(), u"Tether Media");
}

TEST_F(TetherMediaModuleTest, DescribesItsRevisionCodeAndQueries) {
  EXPECT_EQ(mModule->GetModuleRevision(), 1);
  EXPECT_EQ(mModule->GetModuleOptions(), 0);
  EXPECT_TRUE(mModule->MatchesModuleRevision(1));
  EXPECT_FALSE(mModule->MatchesModuleRevision(0));
  EXPECT_FALSE(mModule->MatchesModuleRevision(2));
  EXPECT_EQ(mModule->GetModuleCode(), (uint32_t{'T'} << 24) | (uint32_t{'T'} << 16) |
                                          (uint32_t{'H'} << 8) | uint32_t{'M'});
  EXPECT_FALSE(mModule->ModuleQueryA());
  EXPECT_FALSE(mModule->ModuleQueryB());
  EXPECT_FALSE(mModule->ModuleQueryC());
  EXPECT_FALSE(mModule->ModuleQueryD());
  mModule->ModuleNoOp();
}

// A later revision of the module, to see that the revision check asks
// GetModuleRevision through the object.
class RevisedModule : public TetherMediaModule {
 public:
  int GetModuleRevision() override { return 3; }
};

TEST_F(TetherMediaModuleTest, RevisionCheckAsksTheObjectsOwnRevision) {
  auto revised = std::make_shared<RevisedModule>();
  EXPECT_TRUE(revised->MatchesModuleRevision(3));
  EXPECT_FALSE(revised->MatchesModuleRevision(1));
}

TEST_F(TetherMediaModuleTest, KeepsTheFileTypesThatWereThere) {
  std::vector<WF::ImportableFileType> types(1);
  types[0].fileType = 0x41424344u;
  mModule->GetImportableFileTypes(types);
  ASSERT_GE(types.size(), 1u);
  EXPECT_EQ(types[0].fileType, 0x41424344u);
}

TEST_F(TetherMediaModuleTest, OtherImportOperationsKeepTheirInheritedDefaults) {
  EXPECT_EQ(mModule->ImportUnsupported(), kUnsupported);
  EXPECT_EQ(mModule->EchoMediaName(-1, u"Clip 1"), u"Clip 1");
}

TEST_F(TetherMediaModuleTest, ModuleRefIsTheModuleItself) {
  const InterfaceRef<WF::IMediaModule> ref = mModule->GetModuleRef();
  ASSERT_TRUE(ref);
  EXPECT_EQ(ref, mModule);
  EXPECT_EQ(ref.Get(), static_cast<WF::IMediaModule*>(mModule.Get()));
}

TEST_F(TetherMediaModuleTest, CreatorHandsOutOneModuleWhileItIsHeld) {
  InterfaceRef<UnknownBase> again = CreateTetherMediaModule();
  EXPECT_EQ(again, mRef);

  const std::weak_ptr<UnknownBase> weak = mRef.GetOwner();
  mModule.Reset();
  mRef.Reset();
  EXPECT_FALSE(weak.expired());  // `again` still holds it
  again.Reset();
  EXPECT_TRUE(weak.expired());

  // Nobody holds a module now, so a new one is made.
  const InterfaceRef<UnknownBase> fresh = CreateTetherMediaModule();
  EXPECT_TRUE(fresh);
  EXPECT_NE(InterfaceRef<TetherMediaModule>(fresh), nullptr);
}

TEST_F(TetherMediaModuleTest, ConcurrentCreationsShareOneModule) {
  mModule.Reset();
  mRef = nullptr;
  for (int round = 0; round < 50; ++round) {
    constexpr int kThreads = 4;
    std::vector<InterfaceRef<UnknownBase>> made(kThreads);
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
      threads.emplace_back([&, index] {
        start.arrive_and_wait();
        made[index] = CreateTetherMediaModule();
      });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& module : made) EXPECT_EQ(module, made[0]);
  }
}

class ImporterKeyTest : public TetherMediaModuleTest {};

TEST_F(ImporterKeyTest, RecognisesTheModuleCodeInBothByteOrders) {
  EXPECT_TRUE(mModule->RecognizesImporterKey(kCodeKey));
  EXPECT_TRUE(mModule->RecognizesImporterKey(kSwappedCodeKey));
}

TEST_F(ImporterKeyTest, RefusesZeroEmptyAndNonNumbers) {
  for (const kilncore::WideString& key :
       {kilncore::WideString(u"0"), kilncore::WideString(), kilncore::WideString(u"TTHM"),
        kilncore::WideString(u"abc"), kilncore::WideString(u"1414809678"),
        kilncore::WideString(u"99999999999")}) {
    EXPECT_FALSE(mModule->RecognizesImporterKey(key)) << std::string(key.begin(), key.end());
  }
}

TEST_F(ImporterKeyTest, RemoteAssetNamesNeedTheFarsideClient) {
  EXPECT_FALSE(mModule->RecognizesImporterKey(kAssetName));
  KL::SetFarsideClientAvailable(true);
  EXPECT_TRUE(mModule->RecognizesImporterKey(kAssetName));
  EXPECT_TRUE(mModule->RecognizesImporterKey(kCodeKey));
  EXPECT_FALSE(mModule->RecognizesImporterKey(u"/Volumes/Media/Trailer.marl"));
  EXPECT_FALSE(mModule->RecognizesImporterKey(u""));
}

TEST(FarsideAssetNameTest, NamesAreJSONObjectsWithProductionVersionAndAsset) {
  EXPECT_TRUE(FarsideCL::IsFarsideAssetName(kAssetName));
  EXPECT_TRUE(FarsideCL::IsFarsideAssetName(
      u" { \"asset\" : \"Titles\", \"version\" : \"\", \"production\" : \"Trailer\" } "));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u""));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u"/Volumes/Media/{odd}.marl"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u"{\"production\":\"Trailer\",\"asset\":\"T\"}"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(
      u"{\"production\":\"\",\"version\":\"v1\",\"asset\":\"Titles\"}"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(
      u"{\"production\":\"Trailer\",\"version\":\"v1\",\"asset\":\"\"}"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(
      u"{\"production\":\"Trailer\",\"version\":1,\"asset\":\"Titles\"}"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u"{\"production\":\"Trailer\","));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u"[\"Trailer\",\"v1\",\"Titles\"]"));
}

TEST(FarsideAvailabilityTest, IsOffUntilSwitchedOn) {
  EXPECT_FALSE(KL::IsFarsideClientAvailable());
  KL::SetFarsideClientAvailable(true);
  EXPECT_TRUE(KL::IsFarsideClientAvailable());
  KL::SetFarsideClientAvailable(false);
  EXPECT_FALSE(KL::IsFarsideClientAvailable());
}

// A prefs blob as the module writes it: the source identifier's text as
// UTF-16LE, then the render options.
RL::BinaryData MakePrefs(const Guid& source, std::string_view options) {
  std::vector<uint8_t> bytes;
  for (char16_t unit : source.AsString()) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  bytes.insert(bytes.end(), options.begin(), options.end());
  return RL::BinaryData(bytes);
}

class CancelImportTest : public TetherMediaModuleTest {
 protected:
  const kilncore::WideString kPath = u"/Volumes/Media/Trailer.marl";
  const Guid kSource = Guid("8B701830-D959-420F-AA9C-5392B2F1B17E");
};

TEST_F(CancelImportTest, CancelsTheRequestOfThePathAndTheSourceInThePrefs) {
  auto pair = CreateRequestFuture(kPath, kSource);
  ASSERT_FALSE(pair.IsEmpty());

  mModule->CancelImport(kPath, MakePrefs(kSource, "{\"renderOptions\":{}}"));

  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(kilncore::config::ExtractResultFromException(pair.future.GetException()),
            kUserCanceled);
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

TEST_F(CancelImportTest, PrefsHoldingOnlyTheSourceIdentifierAreEnough) {
  auto pair = CreateRequestFuture(kPath, kSource);
  const RL::BinaryData prefs = MakePrefs(kSource, "");
  ASSERT_EQ(prefs.GetSize(), 72u);

  mModule->CancelImport(kPath, prefs);

  EXPECT_TRUE(pair.future.IsReady());
}

TEST_F(CancelImportTest, LeavesRequestsOfOtherSourcesAndPathsAlone) {
  auto pair = CreateRequestFuture(kPath, kSource);

  mModule->CancelImport(kPath, MakePrefs(Guid::CreateUnique(), "{}"));
  mModule->CancelImport(u"/Volumes/Media/Other.marl", MakePrefs(kSource, "{}"));

  EXPECT_FALSE(pair.future.IsReady());
  pair.promise.SetSuccess();
}

TEST_F(CancelImportTest, PrefsTooShortToNameASourceCancelNothing) {
  // A request under the nil source, which a misread blob might name.
  auto nilPair = CreateRequestFuture(kPath, Guid());
  auto pair = CreateRequestFuture(kPath, kSource);
  const RL::BinaryData full = MakePrefs(kSource, "");
  const RL::BinaryData shortPrefs(full.GetData(), 71);

  mModule->CancelImport(kPath, shortPrefs);
  mModule->CancelImport(kPath, RL::BinaryData());
  mModule->CancelImport(kPath, RL::BinaryData::FromString("{}"));

  EXPECT_FALSE(pair.future.IsReady());
  EXPECT_FALSE(nilPair.future.IsReady());
  pair.promise.SetSuccess();
  nilPair.promise.SetSuccess();
  EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
}

}  // namespace
}  // namespace TetherMedia
