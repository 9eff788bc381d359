#include <WF/CallbackInstanceIDMap.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace {

using ObjectRef = kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>;

// An object that counts its own destruction.
class Tracked : public kilncore::classref::UnknownBase {
 public:
  explicit Tracked(std::atomic<int>& gone) : mGone(gone) {}
  ~Tracked() override { ++mGone; }

 private:
  std::atomic<int>& mGone;
};

TEST(CallbackInstanceIDMapTest, FiledObjectIsFoundByItsIdUntilRemoved) {
  std::atomic<int> gone{0};
  auto object = std::make_shared<Tracked>(gone);
  const int32_t id = WF::CreateUniqueCallbackInstanceID(ObjectRef(object));
  EXPECT_GT(id, 0);
  EXPECT_EQ(WF::FindCallbackInstance(id).Get(), object.get());
  WF::RemoveIDFromInstanceIDMap(id);
  EXPECT_FALSE(WF::FindCallbackInstance(id));
}

TEST(CallbackInstanceIDMapTest, TableKeepsTheObjectAliveUntilItsIdIsRemoved) {
  std::atomic<int> gone{0};
  const int32_t id = WF::CreateUniqueCallbackInstanceID(ObjectRef(std::make_shared<Tracked>(gone)));
  EXPECT_EQ(gone, 0);
  WF::RemoveIDFromInstanceIDMap(id);
  EXPECT_EQ(gone, 1);
}

TEST(CallbackInstanceIDMapTest, RemovedIdIsNeverHandedOutAgain) {
  std::atomic<int> gone{0};
  const int32_t first = WF::CreateUniqueCallbackInstanceID(ObjectRef(std::make_shared<Tracked>(gone)));
  WF::RemoveIDFromInstanceIDMap(first);
  const int32_t second = WF::CreateUniqueCallbackInstanceID(ObjectRef(std::make_shared<Tracked>(gone)));
  EXPECT_NE(first, second);
  EXPECT_FALSE(WF::FindCallbackInstance(first));
  WF::RemoveIDFromInstanceIDMap(second);
}

TEST(CallbackInstanceIDMapTest, RemovingAnUnknownOrRemovedIdChangesNothing) {
  std::atomic<int> gone{0};
  const size_t before = WF::CountCallbackInstances();
  const int32_t id = WF::CreateUniqueCallbackInstanceID(ObjectRef(std::make_shared<Tracked>(gone)));
  WF::RemoveIDFromInstanceIDMap(id);
  WF::RemoveIDFromInstanceIDMap(id);
  WF::RemoveIDFromInstanceIDMap(-5);
  EXPECT_EQ(WF::CountCallbackInstances(), before);
  EXPECT_EQ(gone, 1);
}

TEST(CallbackInstanceIDMapTest, IdsFromManyThreadsAreAllDistinct) {
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  std::vector<std::vector<int32_t>> ids(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&ids, t] {
      for (int i = 0; i < kEach; ++i) ids[t].push_back(WF::CreateUniqueCallbackInstanceID(ObjectRef()));
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<int32_t> distinct;
  for (const auto& list : ids) {
    for (int32_t id : list) {
      distinct.insert(id);
      WF::RemoveIDFromInstanceIDMap(id);
    }
  }
  EXPECT_EQ(distinct.size(), static_cast<size_t>(kThreads * kEach));
}

}  // namespace
