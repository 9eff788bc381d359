#include <Pane/SharedPaneCache.h>
#include <Pane/WrapPaneAroundBinaryReference.h>

#include <processcoordination/SharedMemoryBinaryReference.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using Pane::SharedPaneCache;
using Frame = SharedPaneCache::Frame;

constexpr uint32_t kRetention = 10;

// A frame of a given size that tells when it is destroyed.
class TestPane final : public RL::IPane {
 public:
  TestPane(const Guid& identifier, size_t size, std::shared_ptr<std::atomic<int>> destroyed = nullptr)
      : mIdentifier(identifier), mBytes(size, 0x11), mDestroyed(std::move(destroyed)) {}
  ~TestPane() override {
    if (mDestroyed) ++*mDestroyed;
  }

  Guid GetIdentifier() const override { return mIdentifier; }
  int32_t GetWidth() const override { return 0; }
  int32_t GetHeight() const override { return 0; }
  int32_t GetRowBytes() const override { return 0; }
  kilnmediatypes::PixelFormat GetPixelFormat() const override { return {}; }
  kilnmediatypes::PixelAspectRatio GetPixelAspectRatio() const override { return {}; }
  kilnmediatypes::FieldType GetFieldType() const override { return kilnmediatypes::kFieldType_Progressive; }
  const void* GetData() const override { return mBytes.data(); }
  size_t GetDataSize() const override { return mBytes.size(); }

 private:
  Guid mIdentifier;
  std::vector<unsigned char> mBytes;
  std::shared_ptr<std::atomic<int>> mDestroyed;
};

Guid Key(uint32_t n) { return Guid(n, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}); }

Frame MakeFrame(const Guid& identifier, size_t size, std::shared_ptr<std::atomic<int>> destroyed = nullptr) {
  return Frame(std::make_shared<TestPane>(identifier, size, std::move(destroyed)));
}

TEST(SharedPaneCacheTest, RetrieveFindsWhatWasInsertedAndCountsHitsAndMisses) {
  SharedPaneCache cache(1000);
  const Frame frame = MakeFrame(Key(1), 100);
  EXPECT_FALSE(cache.RetrieveFromCache(Key(1)));
  ASSERT_TRUE(cache.InsertIntoCache(frame, Key(1), kRetention));
  EXPECT_EQ(cache.RetrieveFromCache(Key(1)).Get(), frame.Get());
  EXPECT_EQ(cache.RetrieveFromCache(Key(1)).Get(), frame.Get());
  EXPECT_FALSE(cache.RetrieveFromCache(Key(2)));

  const auto stats = cache.GetStatistics();
  EXPECT_EQ(stats.hits, 2u);
  EXPECT_EQ(stats.misses, 2u);
  EXPECT_EQ(stats.insertions, 1u);
  EXPECT_EQ(stats.entries, 1u);
  EXPECT_EQ(stats.bytes, 100u);
  EXPECT_EQ(stats.byteBudget, 1000u);
  EXPECT_EQ(cache.GetRetention(Key(1)), kRetention);
}

TEST(SharedPaneCacheTest, LookupMakesAFrameTheMostRecentlyUsed) {
  SharedPaneCache cache(1000);
  for (uint32_t i = 1; i <= 3; ++i) cache.InsertIntoCache(MakeFrame(Key(i), 10), Key(i), kRetention);
  EXPECT_EQ(cache.GetIdentifiersByRecency(), (std::vector<Guid>{Key(3), Key(2), Key(1)}));
  cache.RetrieveFromCache(Key(1));
  EXPECT_EQ(cache.GetIdentifiersByRecency(), (std::vector<Guid>{Key(1), Key(3), Key(2)}));
  EXPECT_TRUE(cache.Contains(Key(2)));  // Contains doesn't touch the order
  EXPECT_EQ(cache.GetIdentifiersByRecency(), (std::vector<Guid>{Key(1), Key(3), Key(2)}));
}

TEST(SharedPaneCacheTest, InsertionOverTheBudgetEvictsTheLeastRecentlyUsed) {
  SharedPaneCache cache(300);
  for (uint32_t i = 1; i <= 3; ++i) cache.InsertIntoCache(MakeFrame(Key(i), 100), Key(i), kRetention);
  cache.RetrieveFromCache(Key(1));  // now 2 is the least recently used
  ASSERT_TRUE(cache.InsertIntoCache(MakeFrame(Key(4), 150), Key(4), kRetention));

  EXPECT_FALSE(cache.Contains(Key(2)));
  EXPECT_FALSE(cache.Contains(Key(3)));
  EXPECT_TRUE(cache.Contains(Key(1)));
  EXPECT_TRUE(cache.Contains(Key(4)));
  const auto stats = cache.GetStatistics();
  EXPECT_EQ(stats.evictions, 2u);
  EXPECT_EQ(stats.bytes, 250u);
  EXPECT_EQ(stats.entries, 2u);
}

TEST(SharedPaneCacheTest, FrameLargerThanTheBudgetIsRefused) {
  SharedPaneCache cache(100);
  const Frame small = MakeFrame(Key(1), 50);
  cache.InsertIntoCache(small, Key(1), kRetention);
  EXPECT_FALSE(cache.InsertIntoCache(MakeFrame(Key(1), 101), Key(1), kRetention));
  EXPECT_FALSE(cache.InsertIntoCache(MakeFrame(Key(2), 101), Key(2), kRetention));
  EXPECT_EQ(cache.RetrieveFromCache(Key(1)).Get(), small.Get()) << "the earlier frame stays";
  EXPECT_FALSE(cache.Contains(Key(2)));
  EXPECT_EQ(cache.GetStatistics().rejections, 2u);
  EXPECT_EQ(cache.GetStatistics().evictions, 0u);
}

TEST(SharedPaneCacheTest, NullFrameAndZeroRetentionAreNotKept) {
  SharedPaneCache cache(1000);
  EXPECT_FALSE(cache.InsertIntoCache(Frame(), Key(1), kRetention));
  EXPECT_FALSE(cache.InsertIntoCache(MakeFrame(Key(1), 10), Key(1), 0));
  EXPECT_FALSE(cache.Contains(Key(1)));
  EXPECT_EQ(cache.GetStatistics().rejections, 2u);
}

TEST(SharedPaneCacheTest, ReinsertingAKeyReplacesItsFrameAndRecharges) {
  SharedPaneCache cache(1000);
  auto firstDestroyed = std::make_shared<std::atomic<int>>(0);
  cache.InsertIntoCache(MakeFrame(Key(1), 100, firstDestroyed), Key(1), kRetention);
  cache.InsertIntoCache(MakeFrame(Key(2), 100), Key(2), kRetention);
  const Frame second = MakeFrame(Key(1), 300);
  ASSERT_TRUE(cache.InsertIntoCache(second, Key(1), 5));

  EXPECT_EQ(*firstDestroyed, 1) << "the cache held the only reference to the old frame";
  EXPECT_EQ(cache.RetrieveFromCache(Key(1)).Get(), second.Get());
  EXPECT_EQ(cache.GetIdentifiersByRecency().front(), Key(1));
  EXPECT_EQ(cache.GetRetention(Key(1)), 5u);
  const auto stats = cache.GetStatistics();
  EXPECT_EQ(stats.entries, 2u);
  EXPECT_EQ(stats.bytes, 400u);
  EXPECT_EQ(stats.insertions, 2u);
  EXPECT_EQ(stats.replacements, 1u);
}

TEST(SharedPaneCacheTest, EmptyFramesAreChargedOneByte) {
  SharedPaneCache cache(2);
  for (uint32_t i = 1; i <= 3; ++i) cache.InsertIntoCache(MakeFrame(Key(i), 0), Key(i), kRetention);
  EXPECT_EQ(cache.GetStatistics().entries, 2u);
  EXPECT_EQ(cache.GetStatistics().bytes, 2u);
}

TEST(SharedPaneCacheTest, EvictedFrameStaysValidForItsHolder) {
  SharedPaneCache cache(300);
  auto reference = processcoordination::SharedMemoryBinaryReference::Create(200);
  reference->Data()[0] = 0x7E;
  Frame frame;
  ASSERT_EQ(Pane::WrapPaneAroundBinaryReference(reference, Key(1), frame), 0);
  cache.InsertIntoCache(frame, Key(1), kRetention);
  const Frame held = cache.RetrieveFromCache(Key(1));
  frame.Reset();

  cache.InsertIntoCache(MakeFrame(Key(2), 200), Key(2), kRetention);  // evicts Key(1)
  ASSERT_FALSE(cache.Contains(Key(1)));
  ASSERT_EQ(cache.GetStatistics().evictions, 1u);
  EXPECT_EQ(reference->GetOutstandingAddressCount(), 1);
  EXPECT_EQ(static_cast<const unsigned char*>(held->GetData())[0], 0x7E);
  EXPECT_EQ(held->GetIdentifier(), Key(1));
}

TEST(SharedPaneCacheTest, EvictionDropsOnlyTheCachesReference) {
  SharedPaneCache cache(100);
  auto destroyed = std::make_shared<std::atomic<int>>(0);
  cache.InsertIntoCache(MakeFrame(Key(1), 100, destroyed), Key(1), kRetention);
  cache.InsertIntoCache(MakeFrame(Key(2), 100), Key(2), kRetention);
  EXPECT_EQ(*destroyed, 1) << "nobody else held the evicted frame";
}

TEST(SharedPaneCacheTest, LoweringTheBudgetEvictsDownToIt) {
  SharedPaneCache cache(1000);
  for (uint32_t i = 1; i <= 5; ++i) cache.InsertIntoCache(MakeFrame(Key(i), 100), Key(i), kRetention);
  cache.SetByteBudget(250);
  EXPECT_EQ(cache.GetByteBudget(), 250u);
  EXPECT_EQ(cache.GetIdentifiersByRecency(), (std::vector<Guid>{Key(5), Key(4)}));
  EXPECT_EQ(cache.GetStatistics().evictions, 3u);
}

TEST(SharedPaneCacheTest, RemoveAndClearDropFramesButKeepCounters) {
  SharedPaneCache cache(1000);
  for (uint32_t i = 1; i <= 3; ++i) cache.InsertIntoCache(MakeFrame(Key(i), 10), Key(i), kRetention);
  cache.RetrieveFromCache(Key(1));
  EXPECT_TRUE(cache.Remove(Key(2)));
  EXPECT_FALSE(cache.Remove(Key(2)));
  EXPECT_EQ(cache.GetStatistics().bytes, 20u);
  cache.Clear();
  const auto stats = cache.GetStatistics();
  EXPECT_EQ(stats.entries, 0u);
  EXPECT_EQ(stats.bytes, 0u);
  EXPECT_EQ(stats.hits, 1u);
  EXPECT_EQ(stats.insertions, 3u);
  EXPECT_TRUE(cache.GetIdentifiersByRecency().empty());
  cache.InsertIntoCache(MakeFrame(Key(4), 10), Key(4), kRetention);  // still usable after Clear
  EXPECT_TRUE(cache.Contains(Key(4)));
}

TEST(SharedPaneCacheTest, ResetCountersKeepsTheContent) {
  SharedPaneCache cache(1000);
  cache.InsertIntoCache(MakeFrame(Key(1), 10), Key(1), kRetention);
  cache.RetrieveFromCache(Key(1));
  cache.RetrieveFromCache(Key(2));
  cache.ResetCounters();
  SharedPaneCache::Statistics expected;
  expected.bytes = 10;
  expected.entries = 1;
  expected.byteBudget = 1000;
  EXPECT_EQ(cache.GetStatistics(), expected);
}

TEST(SharedPaneCacheTest, InstanceIsOneHostWideCache) {
  SharedPaneCache& instance = SharedPaneCache::Instance();
  EXPECT_EQ(&instance, &SharedPaneCache::Instance());
  EXPECT_EQ(instance.GetByteBudget(), SharedPaneCache::kDefaultByteBudget);
  const Guid key = Guid::CreateUnique();
  ASSERT_TRUE(instance.InsertIntoCache(MakeFrame(key, 10), key, kRetention));
  EXPECT_TRUE(instance.RetrieveFromCache(key));
  EXPECT_TRUE(instance.Remove(key));
}

TEST(SharedPaneCacheTest, ConcurrentInsertsAndLookupsKeepTheCacheConsistent) {
  constexpr int kThreads = 4;
  constexpr int kOperations = 3000;
  constexpr uint32_t kKeys = 64;
  constexpr size_t kFrameBytes = 64;
  SharedPaneCache cache(16 * kFrameBytes);  // a quarter of the keys fit: evictions are constant
  std::atomic<uint64_t> lookups{0};
  std::atomic<int> wrongFrames{0};
  std::latch start(kThreads);

  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kOperations; ++i) {
        const uint32_t n = static_cast<uint32_t>((i * 7 + t * 13) % kKeys);
        if (i % 3 == 0) {
          cache.InsertIntoCache(MakeFrame(Key(n), kFrameBytes), Key(n), kRetention);
        } else {
          ++lookups;
          const Frame frame = cache.RetrieveFromCache(Key(n));
          if (frame && frame->GetIdentifier() != Key(n)) ++wrongFrames;
        }
        if (i % 500 == 0) cache.GetStatistics();
      }
    });
  }
  for (auto& thread : threads) thread.join();

  const auto stats = cache.GetStatistics();
  EXPECT_EQ(wrongFrames, 0);
  EXPECT_EQ(stats.hits + stats.misses, lookups.load());
  EXPECT_LE(stats.bytes, stats.byteBudget);
  EXPECT_EQ(stats.bytes, stats.entries * kFrameBytes);
  EXPECT_EQ(cache.GetIdentifiersByRecency().size(), stats.entries);
  EXPECT_EQ(stats.insertions - stats.evictions, stats.entries);
  EXPECT_GT(stats.evictions, 0u);
}

TEST(SharedPaneCacheTest, ClearAndBudgetChangesRaceSafelyWithInsertsAndHolders) {
  constexpr int kWriters = 3;
  constexpr int kOperations = 2000;
  constexpr size_t kFrameBytes = 32;
  SharedPaneCache cache(32 * kFrameBytes);
  auto destroyed = std::make_shared<std::atomic<int>>(0);
  std::atomic<int> made{0};
  std::atomic<int> unreadable{0};
  std::latch start(kWriters + 1);

  std::vector<std::thread> threads;
  for (int t = 0; t < kWriters; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kOperations; ++i) {
        const Guid key = Key(static_cast<uint32_t>(t * kOperations + i));
        ++made;
        cache.InsertIntoCache(MakeFrame(key, kFrameBytes, destroyed), key, kRetention);
        // Whatever happens to the cache meanwhile, a frame once held stays readable.
        if (const Frame held = cache.RetrieveFromCache(key)) {
          if (static_cast<const unsigned char*>(held->GetData())[kFrameBytes - 1] != 0x11) ++unreadable;
        }
      }
    });
  }
  threads.emplace_back([&] {
    start.arrive_and_wait();
    for (int i = 0; i < 300; ++i) {
      if (i % 3 == 0) cache.Clear();
      cache.SetByteBudget((i % 2 == 0 ? 8 : 32) * kFrameBytes);
      cache.Remove(Key(static_cast<uint32_t>(i)));
    }
  });
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(unreadable, 0);
  const auto stats = cache.GetStatistics();
  EXPECT_LE(stats.bytes, stats.byteBudget);
  EXPECT_EQ(stats.bytes, stats.entries * kFrameBytes);
  EXPECT_EQ(*destroyed + static_cast<int>(stats.entries), made.load())
      << "every frame the cache let go of was released, and no other";
  cache.Clear();
  EXPECT_EQ(*destroyed, made.load());
}

}  // namespace
