// The host-wide frame cache in front of the server: a background render fills
// it for a later cache-only look, and two threads asking for one frame at once
// cost the server one render.

#include "ModuleRoadTest.h"

#include <barrier>
#include <thread>

namespace TetherMedia::integration {
namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

// Each test starts with the simple sample imported and a frame format settled.
class FrameCacheTest : public ModuleRoadTest {
 protected:
  void SetUp() override {
    ModuleRoadTest::SetUp();
    ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
    mFormat = SettledBGRA();
    mTime = FrameTime(77);
  }

  RL::FrameFormat mFormat;
  TickTime mTime;
};

TEST_P(FrameCacheTest, CacheOnlyLookFindsTheFrameOfAnEarlierBackgroundRender) {
  ASSERT_EQ(mClip->AsyncVideo()->RenderFrameAsync(mTime, mFormat, mClip->Prefs()), 0);
  // A background render gives no notice: the host finds its frame later.
  ASSERT_TRUE(WaitUntil([&] { return !mClip->AsyncVideo()->IsFramePending(mTime, mFormat, 0, mClip->Prefs()); }));
  ASSERT_EQ(ServerFrames(), 1u);

  KL::IVideoSource::Frame frame;
  ASSERT_EQ(mClip->Video()->GetFrame(mTime, mFormat, mClip->Prefs(), true, frame), 0);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->GetIdentifier(), mClip->FrameIdentifier(mTime, mFormat));
  const std::optional<tetherserver::FrameStamp> stamp = StampOf(frame);
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->frameNumber, 77);
  EXPECT_EQ(ServerFrames(), 1u);
  EXPECT_GE(Cache().GetStatistics().hits, 1u);
}

TEST_P(FrameCacheTest, CacheOnlyLookAtAFrameNeverRenderedFindsNothingAndAsksNoServer) {
  KL::IVideoSource::Frame frame;
  EXPECT_EQ(mClip->Video()->GetFrame(mTime, mFormat, mClip->Prefs(), true, frame), 0);
  EXPECT_FALSE(frame);
  EXPECT_FALSE(mClip->AsyncVideo()->IsFramePending(mTime, mFormat, 0, mClip->Prefs()));
  EXPECT_EQ(ServerFrames(), 0u);
}

TEST_P(FrameCacheTest, BackgroundRenderOfACachedFrameAsksNoServer) {
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(GetFrameAsTheHostDoes(*mClip, mTime, mFormat, frame), 0);
  ASSERT_EQ(ServerFrames(), 1u);
  EXPECT_EQ(mClip->AsyncVideo()->RenderFrameAsync(mTime, mFormat, mClip->Prefs()), 0);
  EXPECT_FALSE(mClip->AsyncVideo()->IsFramePending(mTime, mFormat, 0, mClip->Prefs()));
  EXPECT_EQ(ServerFrames(), 1u);
}

TEST_P(FrameCacheTest, TwoThreadsAskingForOneFrameAtOnceCostOneServerRender) {
  std::barrier start(2);
  KL::IVideoSource::Frame frames[2];
  int32_t results[2] = {-1, -1};
  auto ask = [&](int index) {
    start.arrive_and_wait();
    results[index] = GetFrameAsTheHostDoes(*mClip, mTime, mFormat, frames[index]);
  };
  std::thread first(ask, 0);
  std::thread second(ask, 1);
  first.join();
  second.join();

  ASSERT_EQ(results[0], 0);
  ASSERT_EQ(results[1], 0);
  ASSERT_TRUE(frames[0]);
  ASSERT_TRUE(frames[1]);
  const Guid identifier = mClip->FrameIdentifier(mTime, mFormat);
  EXPECT_EQ(frames[0]->GetIdentifier(), identifier);
  EXPECT_EQ(frames[1]->GetIdentifier(), identifier);
  // One delivery: both threads hold the very same shared memory.
  EXPECT_EQ(frames[0]->GetData(), frames[1]->GetData());
  EXPECT_EQ(ServerFrames(), 1u);
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(FrameCacheTest);

}  // namespace
}  // namespace TetherMedia::integration
