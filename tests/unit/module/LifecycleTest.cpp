#include <TetherMedia/Lifecycle.h>

#include <module/ModuleIdentifiers.h>
#include <module/TetherMediaModuleCreator.h>

#include <WF/IImporterFactory.h>
#include <WF/IMediaModule.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/debug/DebugDatabase.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/Seam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace TetherMedia {
namespace {

using kilncore::classref::ClassFactory;
using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;

constexpr int kGeneralFailure = static_cast<int>(0xA00F0001u);

bool ProgressStationExists() {
  return kilncore::messaging::FindStation(GetProgressStation()) != nullptr;
}

// Every test starts with the module not initialised, a fresh importer factory
// and no select-source callback, and must leave Initialize and Shutdown
// balanced: the counter is process-wide and can't be reset.
class LifecycleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mFactory = WF::RegisterReferenceImporterFactory();
    SetSelectSource(SelectSourceCallback());
    ASSERT_FALSE(ProgressStationExists());
  }
  void TearDown() override {
    SetSelectSource(SelectSourceCallback());
    EXPECT_FALSE(ProgressStationExists()) << "the test left the module initialised";
    WF::RegisterReferenceImporterFactory();
  }

  std::size_t ModuleCount() const { return mFactory->GetMediaModules().size(); }

  InterfaceRef<WF::IImporterFactory> mFactory;
};

TEST_F(LifecycleTest, IdentifiersHaveTheirPublishedValues) {
  EXPECT_EQ(kTetherMediaModuleClassID.AsUTF8String(), "8B701830-D959-420F-AA9C-5392B2F1B17E");
  EXPECT_EQ(kImporterFactoryClassID.AsUTF8String(), "ABBB22E3-1D4D-4C87-8BFF-3162577F0528");
  EXPECT_EQ(kImporterFactoryClassID, WF::kImporterFactoryClassID);
  EXPECT_EQ(GetTetherImplementationID(), Guid("EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B"));
}

TEST_F(LifecycleTest, ProgressStationIsKnownBeforeInitializeAndNeverChanges) {
  const auto station = GetProgressStation();
  EXPECT_FALSE(station.empty());
  Initialize();
  EXPECT_EQ(GetProgressStation(), station);
  Shutdown();
  EXPECT_EQ(GetProgressStation(), station);
}

TEST_F(LifecycleTest, FirstInitializeRegistersClassAddsModuleAndOpensStation) {
  EXPECT_EQ(Initialize(), 0);

  EXPECT_TRUE(ClassFactory::IsClassRegistered(kTetherMediaModuleClassID));
  EXPECT_EQ(ClassFactory::GetClassIDName(kTetherMediaModuleClassID), "kTetherMediaModuleClassID");
  EXPECT_EQ(ClassFactory::GetClassName(kTetherMediaModuleClassID), "TetherMediaModule");
  const auto modules = mFactory->GetMediaModules();
  ASSERT_EQ(modules.size(), 1u);
  EXPECT_EQ(modules[0]->GetModuleCode(), kTetherMediaModuleCode);
  EXPECT_TRUE(ProgressStationExists());

  Shutdown();
}

TEST_F(LifecycleTest, LastShutdownClosesStationButKeepsRegistrations) {
  Initialize();
  Shutdown();

  EXPECT_FALSE(ProgressStationExists());
  EXPECT_TRUE(ClassFactory::IsClassRegistered(kTetherMediaModuleClassID));
  EXPECT_EQ(ModuleCount(), 1u);
}

TEST_F(LifecycleTest, NestedInitializeDoesNoSecondStartUp) {
  Initialize();
  // Were the second call to register, the class would be back.
  ClassFactory::UnregisterClass(kTetherMediaModuleClassID);

  EXPECT_EQ(Initialize(), 0);
  EXPECT_FALSE(ClassFactory::IsClassRegistered(kTetherMediaModuleClassID));
  EXPECT_EQ(ModuleCount(), 1u);

  Shutdown();
  EXPECT_TRUE(ProgressStationExists());
  Shutdown();
  EXPECT_FALSE(ProgressStationExists());
}

TEST_F(LifecycleTest, InitializeAfterLastShutdownRepeatsTheStartUp) {
  Initialize();
  Shutdown();
  ClassFactory::UnregisterClass(kTetherMediaModuleClassID);

  Initialize();

  EXPECT_TRUE(ClassFactory::IsClassRegistered(kTetherMediaModuleClassID));
  const auto modules = mFactory->GetMediaModules();
  ASSERT_EQ(modules.size(), 2u);
  // The factory kept the first module alive, so the creator handed it out again.
  EXPECT_EQ(modules[0], modules[1]);
  EXPECT_TRUE(ProgressStationExists());
  Shutdown();
}

TEST_F(LifecycleTest, ShutdownWithoutInitializeWrapsTheCounter) {
  Shutdown();  // the counter wraps; the value read wasn't 1, so nothing happens
  EXPECT_FALSE(ProgressStationExists());

  // The value read isn't 0, so this skips the start-up and brings the counter
  // back to 0.
  EXPECT_EQ(Initialize(), 0);
  EXPECT_EQ(ModuleCount(), 0u);
  EXPECT_FALSE(ProgressStationExists());

  // From 0 again, the next Initialize starts the module.
  Initialize();
  EXPECT_EQ(ModuleCount(), 1u);
  EXPECT_TRUE(ProgressStationExists());
  Shutdown();
}

TEST_F(LifecycleTest, MissingImporterFactoryThrowsAndTheCallStillCounts) {
  ClassFactory::UnregisterClass(kImporterFactoryClassID);

  try {
    Initialize();
    ADD_FAILURE() << "Initialize must report the missing importer factory";
  } catch (const kilncore::config::NullPtrException& exception) {
    EXPECT_EQ(exception.GetTypeName(), "WF::IImporterFactory");
  }
  EXPECT_FALSE(ProgressStationExists());

  // No retry: the counter says the module is started.
  mFactory = WF::RegisterReferenceImporterFactory();
  EXPECT_EQ(Initialize(), 0);
  EXPECT_EQ(ModuleCount(), 0u);
  EXPECT_FALSE(ProgressStationExists());

  Shutdown();
  Shutdown();  // the matching last call; there is no station to dispose of
}

// Watches the host's registrations for the length of a test and counts those
// that concern this module.
class WatchedRegistrations {
 public:
  std::size_t ClassRegistrations() const {
    return std::ranges::count_if(mClasses.Calls(), [](const auto& call) {
      return std::get<0>(call) == kTetherMediaModuleClassID && std::get<1>(call) == "kTetherMediaModuleClassID" &&
             std::get<2>(call) == "TetherMediaModule";
    });
  }
  std::size_t StationRegistrations() const {
    return std::ranges::count_if(mStations.Calls(), [](const auto& call) {
      return std::get<0>(call) == GetProgressStation() && std::get<1>(call) == 0u;
    });
  }
  std::size_t StationDisposals() const {
    return std::ranges::count_if(mDisposals.Calls(),
                                 [](const auto& call) { return std::get<0>(call) == GetProgressStation(); });
  }

 private:
  kilncore::utility::ScopedSeam<ClassFactory::RegisterClassSignature> mClasses{ClassFactory::RegisterClassSeam()};
  kilncore::utility::ScopedSeam<std::shared_ptr<kilncore::messaging::Station>(
      const kilncore::utility::ImmutableString&, kilncore::messaging::ObserveStation)>
      mStations{kilncore::messaging::RegisterStationSeam()};
  kilncore::utility::ScopedSeam<bool(const kilncore::utility::ImmutableString&)> mDisposals{
      kilncore::messaging::DisposeStationSeam()};
};

TEST_F(LifecycleTest, ClassAndStationAreRegisteredOncePerStartUpAndDisposedOfAtTheLastShutdown) {
  WatchedRegistrations watched;
  Initialize();
  Initialize();
  EXPECT_EQ(watched.ClassRegistrations(), 1u);
  EXPECT_EQ(watched.StationRegistrations(), 1u);
  Shutdown();
  EXPECT_EQ(watched.StationDisposals(), 0u);
  Shutdown();
  EXPECT_EQ(watched.StationDisposals(), 1u);
  EXPECT_EQ(watched.ClassRegistrations(), 1u);

  Initialize();
  EXPECT_EQ(watched.ClassRegistrations(), 2u);
  EXPECT_EQ(watched.StationRegistrations(), 2u);
  Shutdown();
  EXPECT_EQ(watched.StationDisposals(), 2u);
}

TEST_F(LifecycleTest, RegisteredModuleAnswersForItsTwoNames) {
  Initialize();
  const InterfaceRef<kilncore::classref::UnknownBase> instance =
      kilncore::classref::CreateClassInstanceRef(kTetherMediaModuleClassID);
  ASSERT_TRUE(instance);

  EXPECT_TRUE(InterfaceRef<WF::IMediaModule>(instance));
  EXPECT_NE(instance->QueryInterface("TetherMedia::TetherMediaModule"), nullptr);
  EXPECT_NE(instance->QueryInterface("WF::IMediaModule"), nullptr);
  EXPECT_EQ(instance->QueryInterface("WF::IImporterFactory"), nullptr);
  EXPECT_EQ(instance->QueryInterface("WF::IMediaModul"), nullptr);
  EXPECT_EQ(instance->QueryInterface(""), nullptr);
  Shutdown();
}

TEST_F(LifecycleTest, SelectSourceWithoutCallbackTouchesNeitherArgument) {
  kilncore::WideString path = u"/keep/me.marl";
  Guid source("11111111-2222-3333-4444-555555555555");

  EXPECT_EQ(SelectSource(path, source), kGeneralFailure);

  EXPECT_EQ(path, u"/keep/me.marl");
  EXPECT_EQ(source, Guid("11111111-2222-3333-4444-555555555555"));
}

TEST_F(LifecycleTest, SelectSourceRunsTheCallbackWithItsArguments) {
  const Guid picked = Guid::CreateUnique();
  SetSelectSource([picked](kilncore::WideString& path, Guid& source) {
    path += u"/picked";
    source = picked;
    return 7;
  });
  kilncore::WideString path = u"/start";
  Guid source;

  EXPECT_EQ(SelectSource(path, source), 7);

  EXPECT_EQ(path, u"/start/picked");
  EXPECT_EQ(source, picked);
}

// A callback that, when its last copy goes away, records what SelectSource
// answered at that moment.
class ProbedCallback {
 public:
  ProbedCallback(int result, std::shared_ptr<std::optional<int>> seen)
      : mResult(result), mState(std::make_shared<State>(std::move(seen))) {}
  int operator()(kilncore::WideString&, Guid&) const { return mResult; }

 private:
  struct State {
    explicit State(std::shared_ptr<std::optional<int>> seen) : mSeen(std::move(seen)) {}
    ~State() {
      kilncore::WideString path;
      Guid source;
      *mSeen = SelectSource(path, source);
    }
    std::shared_ptr<std::optional<int>> mSeen;
  };
  int mResult;
  std::shared_ptr<State> mState;
};

TEST_F(LifecycleTest, ReplacedCallbackIsDestroyedAfterTheNewOneIsInPlace) {
  auto seenByOld = std::make_shared<std::optional<int>>();
  SetSelectSource(ProbedCallback(1, seenByOld));
  EXPECT_FALSE(seenByOld->has_value());

  SetSelectSource([](kilncore::WideString&, Guid&) { return 2; });

  ASSERT_TRUE(seenByOld->has_value());
  EXPECT_EQ(**seenByOld, 2);
}

TEST_F(LifecycleTest, CallbackSetBeforeInitializeLastsUntilTheLastShutdown) {
  auto seen = std::make_shared<std::optional<int>>();
  SetSelectSource(ProbedCallback(5, seen));
  kilncore::WideString path;
  Guid source;

  Initialize();
  Initialize();
  Shutdown();
  EXPECT_EQ(SelectSource(path, source), 5);
  EXPECT_FALSE(seen->has_value());

  Shutdown();

  // Destroyed by the last Shutdown, after the store was emptied.
  ASSERT_TRUE(seen->has_value());
  EXPECT_EQ(**seen, kGeneralFailure);
  EXPECT_EQ(SelectSource(path, source), kGeneralFailure);
}

class AllowOwnProjectTypeTest : public ::testing::Test {
 protected:
  void TearDown() override { Database().RemoveEntry(kKey); }
  static kilncore::debug::DebugDatabase& Database() {
    return kilncore::debug::DebugDatabase::Instance();
  }
  static constexpr const char* kKey = "AllowTetherToOwnProjectType";
};

TEST_F(AllowOwnProjectTypeTest, IsFalseByDefault) {
  Database().RemoveEntry(kKey);
  EXPECT_FALSE(AllowTetherToOwnProjectType());
}

TEST_F(AllowOwnProjectTypeTest, IsTrueOnlyForTheExactTextTrue) {
  Database().SetEntry(kKey, "true");
  EXPECT_TRUE(AllowTetherToOwnProjectType());
  for (const char* text : {"True", "TRUE", "1", "yes", "true ", " true", "false", ""}) {
    Database().SetEntry(kKey, text);
    EXPECT_FALSE(AllowTetherToOwnProjectType()) << '"' << text << '"';
  }
}

TEST_F(AllowOwnProjectTypeTest, IsReadAgainOnEveryCall) {
  Database().SetEntry(kKey, "true");
  EXPECT_TRUE(AllowTetherToOwnProjectType());
  Database().SetEntry(kKey, "false");
  EXPECT_FALSE(AllowTetherToOwnProjectType());
  Database().SetEntry(kKey, "true");
  EXPECT_TRUE(AllowTetherToOwnProjectType());
}

}  // namespace
}  // namespace TetherMedia
