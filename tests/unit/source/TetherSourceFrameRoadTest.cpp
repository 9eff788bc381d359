#include "SourceTestSupport.h"

#include <requests/ServerWait.h>

#include <Pane/WrapPaneAroundBinaryReference.h>

#include <kilncore/debug/TraceCapture.h>
#include <kilncore/utility/Seam.h>
#include <kilnmediatypes/RatioTime.h>
#include <tether/testing/CallRecord.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using tether::testing::Behaviour;
using tether::testing::Delivery;
using tether::testing::Operation;
using tether::testing::ScriptedSourceSetup;

constexpr int64_t kFrame = 10584000000;  // one frame at 24 fps, in ticks
constexpr int32_t kServerFailure = -42;

class TetherSourceFrameRoadTest : public SourceTest {
 protected:
  void TearDown() override {
    kilncore::debug::SetTraceLevel("TetherMedia", -1);
    SourceTest::TearDown();
  }

  int32_t GetFrame(TetherSource& source, int64_t ticks, TetherSource::Frame& frame, bool cacheOnly = false,
                   const RL::BinaryData* withPrefs = nullptr) {
    return source.GetFrame(TickTime(ticks), NativeFormat(), withPrefs ? *withPrefs : prefs, cacheOnly, frame);
  }

  void RunOldestHeldHere() {
    const auto held = backend->Held();
    ASSERT_FALSE(held.empty());
    backend->RunHeldHere(held.front().id);
  }

  bool Cached(const Guid& identifier) { return Pane::SharedPaneCache::Instance().Contains(identifier); }

  size_t Calls(Operation operation) { return backend->CallCount(operation); }

  // Calls that reach the server: everything but the item's local getters.
  size_t MessagesToTheServer() {
    return backend->Calls().size() - backend->CallCount(Operation::kSourceQuery);
  }
};

TEST_F(TetherSourceFrameRoadTest, BlockingRequestDeliversTheServersBytesAndCachesThem) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, kFrame, frame), 0);
  const Guid identifier = IdentifierOf(*source, kFrame, NativeFormat(), prefs);
  EXPECT_TRUE(HoldsScriptedBytes(frame, identifier));
  EXPECT_TRUE(Cached(identifier));
  EXPECT_EQ(Calls(Operation::kRenderVideo), 1u);
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
  EXPECT_EQ(source->GetOpenRequestCount(), 0u);
  const auto render = backend->Calls(Operation::kRenderVideo).front().Args<tether::testing::RenderVideoArgs>();
  EXPECT_EQ(render.identifier, identifier);
  EXPECT_EQ(render.time, tether::RatioTime(1, 24));

  // Seen once, it costs no message to the server again.
  TetherSource::Frame again;
  EXPECT_EQ(GetFrame(*source, kFrame, again), 0);
  EXPECT_TRUE(again == frame);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 1u);
  EXPECT_EQ(Calls(Operation::kGetVideoRenderer), 1u);
}

TEST_F(TetherSourceFrameRoadTest, ServersBlockIsWrappedOnceUnderTheFramesIdentifierAndACacheHitWrapsNothing) {
  kilncore::utility::ScopedSeam wrap(Pane::WrapPaneAroundBinaryReferenceSeam());
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, kFrame, frame), 0);
  ASSERT_EQ(wrap.Calls().size(), 1u);
  EXPECT_EQ(std::get<1>(wrap.Calls()[0]), IdentifierOf(*source, kFrame, NativeFormat(), prefs));
  EXPECT_TRUE(std::get<0>(wrap.Calls()[0]));

  TetherSource::Frame again;
  ASSERT_EQ(GetFrame(*source, kFrame, again), 0);
  EXPECT_EQ(wrap.Calls().size(), 1u);
}

TEST_F(TetherSourceFrameRoadTest, ADeliveredFrameIsTracedWithItsTime) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("TetherMedia", 10);
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, kFrame, frame), 0);
  EXPECT_TRUE(trace.Contains("TetherMedia", "Rendering frame at time 1/24"));
  EXPECT_TRUE(trace.Contains("TetherMedia", "Frame received at time 1/24"));
  EXPECT_FALSE(trace.Contains("TetherMedia", "RenderVideo failed"));
}

TEST_F(TetherSourceFrameRoadTest, CacheOnlyRequestNeverRendersAndAlwaysSucceeds) {
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame, true), 0);
  EXPECT_FALSE(frame);
  EXPECT_EQ(Calls(Operation::kGetVideoRenderer), 0u);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 0u);
}

TEST_F(TetherSourceFrameRoadTest, BackgroundRequestForACachedFrameSendsNothing) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, 0, frame), 0);
  const size_t messagesBefore = MessagesToTheServer();
  EXPECT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  EXPECT_EQ(MessagesToTheServer(), messagesBefore);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 1u);
}

TEST_F(TetherSourceFrameRoadTest, TwoBackgroundRequestsForOneFrameGiveOneRender) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  EXPECT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  EXPECT_EQ(source->RenderFrameAsyncAlias(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));
  EXPECT_EQ(Calls(Operation::kRenderVideo), 1u);
  EXPECT_TRUE(source->IsFramePending(TickTime(0), NativeFormat(), 0, prefs));

  RunOldestHeldHere();
  EXPECT_FALSE(source->IsFramePending(TickTime(0), NativeFormat(), 0, prefs));
  const Guid identifier = IdentifierOf(*source, 0, NativeFormat(), prefs);
  EXPECT_TRUE(Cached(identifier));
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame, true), 0);
  EXPECT_TRUE(HoldsScriptedBytes(frame, identifier));
}

TEST_F(TetherSourceFrameRoadTest, BlockingRequestMeetingABackgroundRenderReturnsCancelledAtOnce) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  ASSERT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame), kFutureIsCancelled);
  EXPECT_FALSE(frame);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 1u);
}

TEST_F(TetherSourceFrameRoadTest, RenderThatFailsTwiceThenSucceedsGivesThreeRendersAndOneFrame) {
  backend->ScriptNext(Operation::kRenderVideo, Behaviour::Fail(kServerFailure).With(Delivery::kSynchronous));
  backend->ScriptNext(Operation::kRenderVideo, Behaviour::Fail(kServerFailure).With(Delivery::kSynchronous));
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame), 0);
  EXPECT_TRUE(HoldsScriptedBytes(frame, IdentifierOf(*source, 0, NativeFormat(), prefs)));
  EXPECT_EQ(Calls(Operation::kRenderVideo), 3u);
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
}

TEST_F(TetherSourceFrameRoadTest, RenderThatFailsThreeTimesLeavesNoEntryAndGivesTheServersStatus) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("TetherMedia", 10);
  backend->Script(Operation::kRenderVideo, Behaviour::Fail(kServerFailure).With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame), kServerFailure);
  EXPECT_FALSE(frame);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 3u);
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
  EXPECT_TRUE(trace.Contains("TetherMedia", "RenderVideo failed for time"));
  EXPECT_TRUE(trace.Contains("TetherMedia", "Rendering frame at time"));
}

// An answer that brings no frame (as one whose memory can't be wrapped) is an
// empty frame with status 0: retried, then given up; the waiter's request
// ends without failure, finds no frame and reports a failed render.
TEST_F(TetherSourceFrameRoadTest, AnswerWithoutAFrameIsRetriedThenEndsAsAFailedRender) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("TetherMedia", 0);
  backend->Script(Operation::kRenderVideo, Behaviour::NullResult().With(Delivery::kSynchronous));
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame), kGeneralFailure);
  EXPECT_FALSE(frame);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 3u);
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
  EXPECT_FALSE(Cached(IdentifierOf(*source, 0, NativeFormat(), prefs)));
  EXPECT_TRUE(trace.Contains("TetherMedia", "RenderVideo failed for time"));
}

TEST_F(TetherSourceFrameRoadTest, BlockingRequestMeetingARetriedEntryStartsAnotherRender) {
  // A frame whose render has failed once is started again by a blocking
  // request that meets it, so one frame can see more than three renders.
  backend->Script(Operation::kRenderVideo, Behaviour::Fail(kServerFailure).With(Delivery::kHold));
  SourceRef source = MakeSource();
  ASSERT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));
  RunOldestHeldHere();  // first failure: a second render is held
  EXPECT_EQ(Calls(Operation::kRenderVideo), 2u);

  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame), kFutureIsCancelled);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 3u);

  RunOldestHeldHere();  // second failure: a fourth render
  RunOldestHeldHere();  // third failure: the entry is given up
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
  RunOldestHeldHere();  // the fourth answer finds no entry
  EXPECT_EQ(Calls(Operation::kRenderVideo), 4u);
  EXPECT_TRUE(backend->Held().empty());
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
}

TEST_F(TetherSourceFrameRoadTest, CancelLeavesNoEntryWritesNoFailureAndCancelsTheServersJob) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("TetherMedia", 10);
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  ASSERT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));

  EXPECT_EQ(source->CancelFrameRender(TickTime(0), NativeFormat(), prefs), 0);
  EXPECT_FALSE(source->IsFramePending(TickTime(0), NativeFormat(), 0, prefs));
  const Guid identifier = IdentifierOf(*source, 0, NativeFormat(), prefs);
  ASSERT_EQ(Calls(Operation::kCancelVideoRender), 1u);
  EXPECT_EQ(backend->Calls(Operation::kCancelVideoRender).front().Args<tether::testing::JobArgs>().identifier,
            identifier);
  EXPECT_FALSE(trace.Contains("TetherMedia", "RenderVideo failed"));

  // The late answer finds no entry, but its frame enters the cache.
  RunOldestHeldHere();
  EXPECT_TRUE(Cached(identifier));
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
}

TEST_F(TetherSourceFrameRoadTest, CancelSendsNothingWithoutARendererForThoseOptions) {
  SourceRef source = MakeSource();
  EXPECT_EQ(source->CancelFrameRender(TickTime(0), NativeFormat(), prefs), 0);
  EXPECT_EQ(Calls(Operation::kCancelVideoRender), 0u);
  EXPECT_EQ(Calls(Operation::kGetVideoRenderer), 0u);
}

TEST_F(TetherSourceFrameRoadTest, CancelReleasesABlockingWaiterWithTheCancelStatus) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  auto waiter = std::async(std::launch::async, [&] {
    TetherSource::Frame frame;
    return GetFrame(*source, 0, frame);
  });
  ASSERT_TRUE(backend->WaitForHeld(1));
  source->CancelFrameRender(TickTime(0), NativeFormat(), prefs);
  EXPECT_EQ(waiter.get(), TetherSource::kRenderCanceledStatus);
}

TEST_F(TetherSourceFrameRoadTest, RenderersForEqualOptionsMadeByTwoThreadsAtOnceLeaveOneEntry) {
  backend->Script(Operation::kGetVideoRenderer, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  auto make = [&] { return source->FindOrCreateVideoRenderer(NativeFormat(), u"", true); };
  auto first = std::async(std::launch::async, make);
  auto second = std::async(std::launch::async, make);
  ASSERT_TRUE(backend->WaitForHeld(2));
  backend->ReleaseAllHeld();
  const auto a = first.get();
  const auto b = second.get();
  ASSERT_TRUE(a);
  EXPECT_EQ(a, b);
  EXPECT_EQ(source->GetVideoRendererCount(), 1u);
  // Another format needs another renderer.
  RL::FrameFormat other = NativeFormat();
  other.renderQuality = 4;
  backend->Script(Operation::kGetVideoRenderer, Behaviour::Succeed());
  EXPECT_NE(source->FindOrCreateVideoRenderer(other, u"", true), a);
  EXPECT_EQ(source->GetVideoRendererCount(), 2u);
  EXPECT_EQ(source->FindOrCreateVideoRenderer(NativeFormat(), u"", false), a);
}

TEST_F(TetherSourceFrameRoadTest, RefusedRendererLeavesABlockingRequestWaitingUntilCancelled) {
  backend->Script(Operation::kGetVideoRenderer, Behaviour::Fail());
  SourceRef source = MakeSource();
  auto waiter = std::async(std::launch::async, [&] {
    TetherSource::Frame frame;
    return GetFrame(*source, 0, frame);
  });
  ASSERT_TRUE(backend->WaitForCalls(Operation::kGetVideoRenderer, 1));
  ASSERT_TRUE(backend->WaitForIdle());
  // The refusal ended the renderer's request; the frame's request waits.
  EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
  source->CancelPendingRequests();
  EXPECT_EQ(waiter.get(), kUserCanceled);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 0u);
  // The entry stays: only a cancel of the frame removes it.
  EXPECT_EQ(source->GetPendingRenderCount(), 1u);
  source->CancelFrameRender(TickTime(0), NativeFormat(), prefs);
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
}

TEST_F(TetherSourceFrameRoadTest, CancelPendingRequestsReleasesARenderARendererCreationAndARequestAtOnce) {
  backend->Script(Operation::kGetVideoRenderer, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();

  // A blocking render, stuck in the creation of its renderer.
  auto render = std::async(std::launch::async, [&] {
    TetherSource::Frame frame;
    return GetFrame(*source, 0, frame);
  });
  // A creation of a renderer for other options.
  RL::FrameFormat other = NativeFormat();
  other.renderQuality = 4;
  auto creation = std::async(std::launch::async,
                             [&] { return source->FindOrCreateVideoRenderer(other, u"", true); });
  // A request of the kind that named server requests make.
  TetherSource::Request request;
  Guid requestID;
  source->AddRequest(request, requestID);
  auto named = std::async(std::launch::async, [&] { return source->WaitForRequest(request, requestID); });

  ASSERT_TRUE(backend->WaitForHeld(2));
  EXPECT_EQ(source->GetOpenRequestCount(), 4u);  // the render's, two creations', the named one
  EXPECT_EQ(source->CancelPendingRequests(), 0);
  EXPECT_EQ(render.get(), kUserCanceled);
  EXPECT_EQ(creation.get(), nullptr);
  EXPECT_EQ(named.get(), kUserCanceled);
  EXPECT_EQ(source->GetOpenRequestCount(), 0u);

  // The late answers change nothing: the pool stays empty, no render starts.
  backend->ReleaseAllHeld();
  ASSERT_TRUE(backend->WaitForIdle());
  EXPECT_EQ(source->GetVideoRendererCount(), 0u);
  EXPECT_EQ(Calls(Operation::kRenderVideo), 0u);
  source->CancelFrameRender(TickTime(0), NativeFormat(), prefs);
}

TEST_F(TetherSourceFrameRoadTest, RequestNeverAnsweredEndsAtTheDeadlineAndIsForgotten) {
  SourceRef source = MakeSource();
  ASSERT_TRUE(source);
  const ServerWait::ScopedDeadlineForTesting shortDeadline(std::chrono::milliseconds(50));
  TetherSource::Request request;
  Guid requestID;
  source->AddRequest(request, requestID);
  EXPECT_EQ(source->WaitForRequest(request, requestID), kFutureNotReady);
  EXPECT_EQ(source->GetOpenRequestCount(), 0u);
}

TEST_F(TetherSourceFrameRoadTest, RenderInFlightWhenTheSourceIsSwappedEndsUnderItsOwnIdentifier) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  const Guid before = IdentifierOf(*source, 0, NativeFormat(), prefs);
  ASSERT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));

  ScriptedSourceSetup changed = ScriptedSourceSetup::Typical();
  changed.info.contentState = Guid("99999999-8888-7777-6666-555555555555");
  source->SetSource(ConnectItem(kOtherItem, changed));
  const Guid after = IdentifierOf(*source, 0, NativeFormat(), prefs);
  ASSERT_NE(before, after);

  RunOldestHeldHere();
  EXPECT_TRUE(Cached(before));
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
  // The new content isn't taken for the old frame.
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*source, 0, frame, true), 0);
  EXPECT_FALSE(frame);
  // The pool is kept: the new content renders on the same renderer.
  ASSERT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));
  EXPECT_EQ(Calls(Operation::kGetVideoRenderer), 1u);
  RunOldestHeldHere();
  EXPECT_TRUE(Cached(after));
}

TEST_F(TetherSourceFrameRoadTest, LateAnswerAfterTheSourceIsGoneDoesNothing) {
  backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeSource();
  const Guid identifier = IdentifierOf(*source, 0, NativeFormat(), prefs);
  ASSERT_EQ(source->RenderFrameAsync(TickTime(0), NativeFormat(), prefs), 0);
  ASSERT_TRUE(backend->WaitForHeld(1));
  const std::weak_ptr<kilncore::classref::UnknownBase> weak = source.GetOwner();
  source.Reset();
  ASSERT_TRUE(weak.expired());

  RunOldestHeldHere();
  EXPECT_FALSE(Cached(identifier));
  EXPECT_TRUE(backend->CallbackExceptions().empty());
}

// --- The stretch adjustment of items with frozen regions.

class StretchAdjustmentTest : public TetherSourceFrameRoadTest {
 protected:
  void SetUp() override {
    TetherSourceFrameRoadTest::SetUp();
    backend->Script(Operation::kRenderVideo, Behaviour::Succeed().With(Delivery::kSynchronous));
    frozen.info.hasFrozenUnstretchableRegions = true;
  }

  tether::RatioTime RenderedTime() {
    return backend->Calls(Operation::kRenderVideo).back().Args<tether::testing::RenderVideoArgs>().time;
  }

  ScriptedSourceSetup frozen = ScriptedSourceSetup::Typical();
  const RL::BinaryData offsetPrefs = BuildPrefsWithApplicationSpecificRenderOptions(
      kItem.AsString(), u"{\"applicationID\":\"Marl\",\"version\":10,\"stretchOffset\":10584000000}");
};

TEST_F(StretchAdjustmentTest, FrameIsRenderedEarlierByTheStretchOffset) {
  SourceRef source = MakeSource(frozen);
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, 3 * kFrame, frame, false, &offsetPrefs), 0);
  EXPECT_EQ(RenderedTime(), tether::RatioTime(2, 24));
  // The frame is known under the time it was rendered at.
  EXPECT_TRUE(HoldsScriptedBytes(frame, IdentifierOf(*source, 2 * kFrame, NativeFormat(), offsetPrefs)));
}

TEST_F(StretchAdjustmentTest, AdjustmentIsNeverMoreThanTheTime) {
  SourceRef source = MakeSource(frozen);
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, kFrame / 2, frame, false, &offsetPrefs), 0);
  EXPECT_EQ(RenderedTime(), tether::RatioTime(0));
}

TEST_F(StretchAdjustmentTest, ItemWithoutFrozenRegionsIsRenderedAtTheHostsTime) {
  SourceRef source = MakeSource();
  TetherSource::Frame frame;
  ASSERT_EQ(GetFrame(*source, 3 * kFrame, frame, false, &offsetPrefs), 0);
  EXPECT_EQ(RenderedTime(), tether::RatioTime(3, 24));
}

TEST_F(StretchAdjustmentTest, OptionsThatAreNotMarlOptionsGiveNoAdjustmentAndATrace) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("TetherMedia", 10);
  SourceRef item = MakeSource(frozen);
  TetherSource::Frame frame;
  EXPECT_EQ(GetFrame(*item, 3 * kFrame, frame), 0);  // empty options text
  EXPECT_EQ(RenderedTime(), tether::RatioTime(3, 24));
  EXPECT_TRUE(trace.Contains("TetherMedia", "No stretch offset"));

  SourceRef clip = MakeSource(frozen, 7);
  EXPECT_EQ(GetFrame(*clip, 3 * kFrame, frame, false, &offsetPrefs), 0);  // "7"
  EXPECT_EQ(RenderedTime(), tether::RatioTime(3, 24));
}

}  // namespace
}  // namespace TetherMedia::testing
