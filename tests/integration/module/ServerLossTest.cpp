// A server that stalls or dies under the host: an import or a blocking render
// in flight ends at once, with a failure code when the server died and with
// the code of the host's cancel when the host gave up, and the next import
// after a death starts a fresh server.

#include "BlockingProjectFile.h"
#include "ModuleRoadTest.h"

#include <kilnmediatypes/PixelFormat.h>

#include <signal.h>

#include <future>
#include <utility>

namespace TetherMedia::integration {
namespace {

using Clock = std::chrono::steady_clock;
using kilnmediatypes::TickTime;
using Outcome = std::pair<int32_t, Clock::time_point>;
using kilncore::classref::InterfaceRef;

// Well under a second on any machine; the margin keeps busy CI machines green.
constexpr auto kPromptly = std::chrono::seconds(2);
// An item whose connection ended before its stream object came.
constexpr int32_t kNoLinkedSource = static_cast<int32_t>(0xA00703E9);
// A blocking render whose request failed with the link's (positive) status.
constexpr int32_t kRenderFailed = static_cast<int32_t>(0xA00F0001);
// A wait ended by the host's cancel of the source's requests.
constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007);
// A wait ended by the host's cancel of that one frame.
constexpr int32_t kRenderCanceled = -6;

// Stopping and killing the server needs a server process of its own, so these
// tests run over the child-process server only.
class ServerLossTest : public ModuleRoadTest {
 protected:
  void TearDown() override {
    // A stalled render must end before the clip goes.
    if (mStopped) Signal(SIGCONT);
    if (mRender.valid()) mRender.wait();
    ModuleRoadTest::TearDown();
  }

  // Imports the simple sample and pulls one frame, so that the renderer for
  // the format exists; then stops the server and starts a blocking render of
  // another frame on a thread of its own. Returns once that render is pending:
  // stopped before it could be sent, the server can't have answered it.
  void StartStalledRender() {
    ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
    mFormat = SettledBGRA();
    KL::IVideoSource::Frame first;
    ASSERT_EQ(GetFrameAsTheHostDoes(*mClip, TickTime(0), mFormat, first), 0);
    mServerProcess = mServer.ServerProcessId();
    ASSERT_GT(mServerProcess, 0);

    Signal(SIGSTOP);
    mTime = FrameTime(50);
    mRender = std::async(std::launch::async, [this] {
      KL::IVideoSource::Frame frame;
      const int32_t result = mClip->Video()->GetFrame(mTime, mFormat, mClip->Prefs(), false, frame);
      return Outcome(result, Clock::now());
    });
    ASSERT_TRUE(WaitUntil([this] { return IsPending(); }));
  }

  bool IsPending() const { return mClip->AsyncVideo()->IsFramePending(mTime, mFormat, 0, mClip->Prefs()); }

  // Signals the server this test started; SIGKILL and SIGCONT end the stop.
  void Signal(int signal) {
    ASSERT_EQ(::kill(mServerProcess, signal), 0);
    mStopped = signal == SIGSTOP;
  }

  // The stalled render's result and how long after `since` it came.
  std::pair<int32_t, Clock::duration> RenderOutcome(Clock::time_point since) {
    if (mRender.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
      ADD_FAILURE() << "the stalled render never ended";
      return {0, Clock::duration::max()};
    }
    const Outcome outcome = mRender.get();
    return {outcome.first, outcome.second - since};
  }

  // A clip of the simple sample from a copy of its own, with a frame pulled
  // through it: the link works after a loss.
  void ExpectAFreshServerServesTheNextImport(pid_t lostServer) {
    const HostClip clip(mExamples.SecondCopy(kSimpleProject), kSimpleComposition);
    ASSERT_EQ(clip.ImportResult(), 0);
    EXPECT_GT(mServer.ServerProcessId(), 0);
    EXPECT_NE(mServer.ServerProcessId(), lostServer);
    const RL::FrameFormat format = clip.Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u));
    KL::IVideoSource::Frame frame;
    ASSERT_EQ(GetFrameAsTheHostDoes(clip, TickTime(0), format, frame), 0);
    EXPECT_TRUE(StampOf(frame));
  }

  pid_t mServerProcess = 0;
  bool mStopped = false;
  RL::FrameFormat mFormat;
  TickTime mTime;
  std::future<Outcome> mRender;
};

TEST_P(ServerLossTest, ServerKilledDuringAnImportFailsItPromptly) {
  BlockingProjectFile project(mExamples.PathFor("pending.marlp"));
  auto import = std::async(std::launch::async, [&] {
    const HostClip clip(project.Path(), kSimpleComposition);
    const Clock::time_point ended = Clock::now();
    // Had the server never opened the file, the writer would wait for ever.
    project.ReleaseWriter();
    return Outcome(clip.ImportResult(), ended);
  });
  ASSERT_TRUE(project.WaitForReader());
  ASSERT_EQ(import.wait_for(std::chrono::seconds(0)), std::future_status::timeout)
      << "the import ended before the server read its project";
  const pid_t server = mServer.ServerProcessId();
  ASSERT_GT(server, 0);

  const Clock::time_point killed = Clock::now();
  ASSERT_EQ(::kill(server, SIGKILL), 0);
  ASSERT_EQ(import.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  const auto [result, ended] = import.get();
  EXPECT_EQ(result, kNoLinkedSource);
  EXPECT_LT(ended - killed, kPromptly);

  ExpectAFreshServerServesTheNextImport(server);
}

TEST_P(ServerLossTest, ServerKilledDuringABlockingRenderFailsItPromptly) {
  ASSERT_NO_FATAL_FAILURE(StartStalledRender());
  const Clock::time_point killed = Clock::now();
  Signal(SIGKILL);
  const auto [result, took] = RenderOutcome(killed);
  EXPECT_EQ(result, kRenderFailed);
  EXPECT_LT(took, kPromptly);
  EXPECT_FALSE(IsPending());

  ExpectAFreshServerServesTheNextImport(mServerProcess);
}

TEST_P(ServerLossTest, HostCancelReleasesAStalledRenderWhoseFrameStillReachesTheCache) {
  ASSERT_NO_FATAL_FAILURE(StartStalledRender());
  const uint64_t framesBefore = ServerFrames();
  const Clock::time_point cancelled = Clock::now();
  ASSERT_GE(InterfaceRef<RL::ISource>(mClip->Video())->CancelPendingRequests(), 0);
  const auto [result, took] = RenderOutcome(cancelled);
  EXPECT_EQ(result, kUserCanceled);
  EXPECT_LT(took, kPromptly);

  // The request still stands at the server: once it goes on, its frame comes
  // into the cache, where the host's next look finds it.
  Signal(SIGCONT);
  ASSERT_TRUE(WaitUntil([this] { return !IsPending(); }));
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(mClip->Video()->GetFrame(mTime, mFormat, mClip->Prefs(), true, frame), 0);
  ASSERT_TRUE(frame);
  ASSERT_TRUE(StampOf(frame));
  EXPECT_EQ(StampOf(frame)->frameNumber, 50);
  EXPECT_EQ(ServerFrames(), framesBefore + 1);
}

TEST_P(ServerLossTest, CancelOfTheFrameReleasesAStalledRenderAndLeavesNothingPending) {
  ASSERT_NO_FATAL_FAILURE(StartStalledRender());
  const Clock::time_point cancelled = Clock::now();
  ASSERT_GE(mClip->AsyncVideo()->CancelFrameRender(mTime, mFormat, mClip->Prefs()), 0);
  const auto [result, took] = RenderOutcome(cancelled);
  EXPECT_EQ(result, kRenderCanceled);
  EXPECT_LT(took, kPromptly);
  EXPECT_FALSE(IsPending());
  Signal(SIGCONT);
}

TEST_P(ServerLossTest, SecondRequestMeetingAStalledRenderIsToldAtOnceAndSharesItsFrame) {
  ASSERT_NO_FATAL_FAILURE(StartStalledRender());
  const uint64_t framesBefore = ServerFrames();
  // While the server can't answer, a second thread's request for the same
  // frame isn't attached to the render in flight: it returns at once.
  KL::IVideoSource::Frame second;
  EXPECT_EQ(mClip->Video()->GetFrame(mTime, mFormat, mClip->Prefs(), false, second),
            static_cast<int32_t>(0xF3610004));
  EXPECT_FALSE(second);
  EXPECT_TRUE(IsPending());

  const Clock::time_point resumed = Clock::now();
  Signal(SIGCONT);
  // The first request gets its frame, or is released just before the frame is
  // stored in its entry and finds it in the cache when asked again.
  const int32_t first = RenderOutcome(resumed).first;
  EXPECT_TRUE(first == 0 || first == kRenderFailed) << first;
  ASSERT_EQ(GetFrameAsTheHostDoes(*mClip, mTime, mFormat, second), 0);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->GetIdentifier(), mClip->FrameIdentifier(mTime, mFormat));
  EXPECT_EQ(ServerFrames(), framesBefore + 1);
}

INSTANTIATE_TEST_SUITE_P(ChildProcessServer, ServerLossTest, ::testing::Values(ServerMode::kChildProcess), ModeName);

}  // namespace
}  // namespace TetherMedia::integration
