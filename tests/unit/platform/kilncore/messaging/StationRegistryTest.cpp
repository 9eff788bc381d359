#include "TestMessages.h"

#include <kilncore/config/KilnException.h>
#include <kilncore/messaging/ManagedStation.h>
#include <kilncore/messaging/StationRegistry.h>

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace {

using kilncore::config::kiln_exception;
using kilncore::messaging::DisposeStation;
using kilncore::messaging::FindStation;
using kilncore::messaging::ManagedStation;
using kilncore::messaging::RegisterStation;
using kilncore::messaging::UniqueStationID;
using kilncore::utility::ImmutableString;

TEST(StationRegistryTest, UniqueStationIDsDifferAcrossThreads) {
  std::vector<std::vector<std::string>> perThread(4);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 250; ++i) perThread[t].push_back(UniqueStationID().AsUTF8());
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::string> all;
  for (const auto& ids : perThread) all.insert(ids.begin(), ids.end());
  EXPECT_EQ(all.size(), 1000u);
  EXPECT_EQ(all.count(""), 0u);
}

TEST(StationRegistryTest, RegisteredStationIsFoundUntilDisposed) {
  const ImmutableString id = UniqueStationID();
  EXPECT_EQ(FindStation(id), nullptr);
  auto station = RegisterStation(id, 0);
  ASSERT_NE(station, nullptr);
  EXPECT_EQ(FindStation(id), station);
  EXPECT_EQ(station->GetStationID(), id);
  EXPECT_EQ(station->GetObserveStation(), 0u);
  EXPECT_FALSE(station->IsDisposed());

  EXPECT_TRUE(DisposeStation(id));
  EXPECT_EQ(FindStation(id), nullptr);
  EXPECT_TRUE(station->IsDisposed());
  EXPECT_FALSE(DisposeStation(id));
}

TEST(StationRegistryTest, RegisteringAnIdentifierTwiceThrows) {
  const ImmutableString id = UniqueStationID();
  RegisterStation(id, 0);
  EXPECT_THROW(RegisterStation(id, 0), kiln_exception);
  DisposeStation(id);
  // Once disposed of, the identifier may be used again.
  EXPECT_NE(RegisterStation(id, 0), nullptr);
  DisposeStation(id);
}

TEST(StationRegistryTest, EmptyIdentifierIsRefused) {
  EXPECT_THROW(RegisterStation(ImmutableString(), 0), kiln_exception);
}

TEST(ManagedStationTest, RegistersOnConstructionAndDisposesOnDestruction) {
  ImmutableString id;
  {
    ManagedStation managed;
    id = managed.GetStationID();
    EXPECT_FALSE(id.empty());
    EXPECT_EQ(FindStation(id), managed.GetStation());
  }
  EXPECT_EQ(FindStation(id), nullptr);
}

TEST(ManagedStationTest, DestructionThroughABasePointerDisposes) {
  struct OwnStation : ManagedStation {};
  std::unique_ptr<ManagedStation> managed = std::make_unique<OwnStation>();
  const ImmutableString id = managed->GetStationID();
  EXPECT_NE(FindStation(id), nullptr);
  managed.reset();
  EXPECT_EQ(FindStation(id), nullptr);
}

TEST(ManagedStationTest, TakesAGivenIdentifier) {
  const ImmutableString id = UniqueStationID();
  {
    ManagedStation managed(id, 3);
    EXPECT_EQ(managed.GetStationID(), id);
    EXPECT_EQ(FindStation(id)->GetObserveStation(), 3u);
  }
  EXPECT_EQ(FindStation(id), nullptr);
}

TEST(StationRegistryTest, ConcurrentRegistrationFindingAndDisposalAreSafe) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 200; ++i) {
        ManagedStation managed;
        auto found = FindStation(managed.GetStationID());
        EXPECT_EQ(found, managed.GetStation());
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
