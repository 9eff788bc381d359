#include "FakeAudioSource.h"

#include <WF/AudioSourceImpl.h>
#include <WF/AudioSourcePool.h>
#include <WF/ConformedAudioSourceFile.h>

#include <kilncore/classref/InterfaceRef.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace {

using kilncore::classref::InterfaceRef;
using kilncore::classref::QueryInterfaceRef;
using kilncore::utility::Guid;
using kilncore::utility::ImmutableString;
using kilnmediatypes::AudioChannelDescription;
using kilnmediatypes::FrameRate;
using kilnmediatypes::TickTime;
using wfaudio_test::FakeAudioSource;

// One full key of the pool, as the media item would give it.
struct PoolKey {
  kilncore::WideString path = u"/p/Show.marlp";
  Guid documentID = Guid::CreateUnique();
  size_t streamIndex = 0;
  FrameRate frameRate = kilnmediatypes::kFrameRate_Film24;
  TickTime duration = TickTime(48000, kilnmediatypes::kAudioSampleRate_48000);
  Guid contentState = Guid::CreateUnique();
  RL::BinaryData prefs = RL::BinaryData::FromString("prefs");
  std::vector<AudioChannelDescription> layout = std::vector<AudioChannelDescription>(2);
};

class AudioSourcePoolTest : public ::testing::Test {
 protected:
  AudioSourcePoolTest() {
    for (uint32_t c = 0; c < 2; ++c) mKey.layout[c].discreteIndex = c;
  }

  // A source made for `key`'s path around a fresh two-channel item, added.
  InterfaceRef<WF::AudioSourceImpl> AddFor(const PoolKey& key) {
    auto source = QueryInterfaceRef<WF::AudioSourceImpl>(WF::ConformedAudioSourceFile::Create(
        std::make_shared<FakeAudioSource>(), key.prefs, key.frameRate, u"name", key.contentState,
        key.documentID, key.path, 0, u"", u"", ImmutableString()));
    mPool->AddAudioSource(source, key.documentID, key.streamIndex, key.frameRate, key.duration,
                          key.contentState, key.prefs);
    return source;
  }

  InterfaceRef<WF::AudioSourceImpl> Find(const PoolKey& key) const {
    return mPool->FindAudioSource(key.path, key.documentID, key.streamIndex, key.frameRate, key.duration,
                                  key.contentState, key.prefs, key.layout);
  }

  std::shared_ptr<WF::AudioSourcePool> mPool = std::make_shared<WF::AudioSourcePool>();
  PoolKey mKey;
};

TEST_F(AudioSourcePoolTest, EmptyPoolFindsNothing) { EXPECT_TRUE(Find(mKey).IsNull()); }

TEST_F(AudioSourcePoolTest, SameKeyFindsTheSameSource) {
  const auto added = AddFor(mKey);
  const auto found = Find(mKey);
  ASSERT_FALSE(found.IsNull());
  EXPECT_EQ(found.Get(), added.Get());
  EXPECT_EQ(Find(mKey).Get(), added.Get());
}

TEST_F(AudioSourcePoolTest, ReleasedSourceIsNotFoundAndANewOneCanTakeItsPlace) {
  auto first = AddFor(mKey);
  const std::weak_ptr<kilncore::classref::UnknownBase> firstAlive = first.GetOwner();
  first.Reset();
  EXPECT_TRUE(firstAlive.expired());  // the pool kept nothing alive
  EXPECT_TRUE(Find(mKey).IsNull());
  EXPECT_EQ(mPool->GetSourceCount(), 0u);

  const auto second = AddFor(mKey);
  EXPECT_EQ(Find(mKey).Get(), second.Get());
}

TEST_F(AudioSourcePoolTest, EveryPartOfTheKeyCounts) {
  const auto added = AddFor(mKey);
  std::vector<PoolKey> others(8, mKey);
  others[0].path = u"/p/Other.marlp";
  others[1].documentID = Guid::CreateUnique();
  others[2].streamIndex = 1;
  others[3].frameRate = kilnmediatypes::kFrameRate_PAL25;
  others[4].duration = TickTime(1);
  others[5].contentState = Guid::CreateUnique();
  others[6].prefs = RL::BinaryData::FromString("other prefs");
  others[7].layout.pop_back();
  for (size_t i = 0; i < others.size(); ++i) EXPECT_TRUE(Find(others[i]).IsNull()) << "part " << i;
  EXPECT_EQ(Find(mKey).Get(), added.Get());
}

TEST_F(AudioSourcePoolTest, PathAndLayoutComeFromTheSourceItself) {
  PoolKey elsewhere = mKey;
  elsewhere.path = u"/p/Elsewhere.marlp";
  const auto added = AddFor(elsewhere);
  EXPECT_EQ(Find(elsewhere).Get(), added.Get());
  EXPECT_TRUE(Find(mKey).IsNull());
}

TEST_F(AudioSourcePoolTest, NewerSourceWithTheSameKeyReplacesTheOlder) {
  const auto older = AddFor(mKey);
  const auto newer = AddFor(mKey);
  EXPECT_EQ(Find(mKey).Get(), newer.Get());
  EXPECT_EQ(mPool->GetSourceCount(), 1u);
}

TEST_F(AudioSourcePoolTest, NullSourceIsIgnored) {
  mPool->AddAudioSource(nullptr, mKey.documentID, 0, mKey.frameRate, mKey.duration, mKey.contentState, mKey.prefs);
  EXPECT_EQ(mPool->GetSourceCount(), 0u);
}

TEST_F(AudioSourcePoolTest, ClearForgetsButDoesNotEndSources) {
  const auto added = AddFor(mKey);
  mPool->Clear();
  EXPECT_TRUE(Find(mKey).IsNull());
  kilnaudiotoolkit::AudioBuffer buffer(2, 4);
  EXPECT_EQ(added->ReadAudio(0, buffer, TickTime(0)), 0);
}

TEST_F(AudioSourcePoolTest, HostWidePoolIsOneObject) {
  const auto pool = WF::AudioSourcePool::Create();
  ASSERT_FALSE(pool.IsNull());
  EXPECT_TRUE(pool == WF::AudioSourcePool::Create());
}

TEST_F(AudioSourcePoolTest, FindsAddsAndReleasesRaceSafely) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  std::latch start(kThreads);
  std::atomic<int> wrongHits{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      PoolKey key = mKey;
      key.streamIndex = static_cast<size_t>(t % 2);
      start.arrive_and_wait();
      for (int i = 0; i < kRounds; ++i) {
        auto found = Find(key);
        if (found && found->GetDescription().path != key.path) ++wrongHits;
        if (!found) found = AddFor(key);
        if (i % 3 == 0) found.Reset();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrongHits.load(), 0);
  EXPECT_LE(mPool->GetSourceCount(), 2u);
}

}  // namespace
