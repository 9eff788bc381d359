// The host-wide frame cache in front of the server: a background render fills
// it for a later cache-only look, and two threads asking for one frame at once
// cost the server one render.

#include "ModuleRoadTest.h"

#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/RatioTime.h>

#include <barrier>
#include <thread>

namespace TetherMedia::integration {
namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

using FrameCacheTest = ModuleRoadTest;

class OpenedSimpleClip : public FrameCacheTest {
 protected:
  void SetUp() override {
    FrameCacheTest::SetUp();
    mExample = mExamples.Find(kSimpleProject, kSimpleComposition);
    mClip.emplace(mExample.path, kSimpleComposition);
    ASSERT_EQ(mClip->ImportResult(), 0);
    mFormat = mClip->Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u));
    mTime = kilnmediatypes::RatioTimeToTime(mExample.composition->FramesToTime(77));
  }
  void TearDown() override {
    mClip.reset();
    FrameCacheTest::TearDown();
  }

  ExampleComposition mExample;
  std::optional<HostClip> mClip;
  RL::FrameFormat mFormat;
  TickTime mTime;
};

TEST_P(OpenedSimpleClip, CacheOnlyLookFindsTheFrameOfAnEarlierBackgroundRender) {
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

TEST_P(OpenedSimpleClip, CacheOnlyLookAtAFrameNeverRenderedFindsNothingAndAsksNoServer) {
  KL::IVideoSource::Frame frame;
  EXPECT_EQ(mClip->Video()->GetFrame(mTime, mFormat, mClip->Prefs(), true, frame), 0);
  EXPECT_FALSE(frame);
  EXPECT_FALSE(mClip->AsyncVideo()->IsFramePending(mTime, mFormat, 0, mClip->Prefs()));
  EXPECT_EQ(ServerFrames(), 0u);
}

TEST_P(OpenedSimpleClip, BackgroundRenderOfACachedFrameAsksNoServer) {
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(GetFrameAsTheHostDoes(*mClip, mTime, mFormat, frame), 0);
  ASSERT_EQ(ServerFrames(), 1u);
  EXPECT_EQ(mClip->AsyncVideo()->RenderFrameAsync(mTime, mFormat, mClip->Prefs()), 0);
  EXPECT_FALSE(mClip->AsyncVideo()->IsFramePending(mTime, mFormat, 0, mClip->Prefs()));
  EXPECT_EQ(ServerFrames(), 1u);
}

TEST_P(OpenedSimpleClip, TwoThreadsAskingForOneFrameAtOnceCostOneServerRender) {
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

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(OpenedSimpleClip);

}  // namespace
}  // namespace TetherMedia::integration
