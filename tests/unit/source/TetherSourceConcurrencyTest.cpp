#include "SourceTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using tether::testing::Behaviour;
using tether::testing::Operation;

constexpr int32_t kServerFailure = -42;
constexpr int kThreads = 4;
constexpr int kRequestsPerThread = 150;
constexpr int kDistinctFrames = 6;
constexpr int64_t kFrame = 10584000000;

class TetherSourceConcurrencyTest : public SourceTest {};

// Many threads ask for overlapping frames in all three modes, cancel frames
// and all requests, while the server fails, succeeds and gets cancelled. Every
// blocking caller must come back with a result the frame road can give, a
// frame must hold the right pixels, and once the server has answered
// everything no entry and no request may be left.
TEST_F(TetherSourceConcurrencyTest, OverlappingRequestsInAllModesEndWithNothingLeftBehind) {
  std::mt19937 script(12345);
  for (int i = 0; i < 2000; ++i) {
    backend->ScriptNext(Operation::kRenderVideo,
                        script() % 3 == 0 ? Behaviour::Fail(kServerFailure) : Behaviour::Succeed());
  }
  SourceRef source = MakeSource();
  // The renderer exists before the race, so that every entry has a render in
  // flight: a cancelled creation would leave its entry waiting for a cancel.
  ASSERT_TRUE(source->FindOrCreateVideoRenderer(NativeFormat(), u"", true));

  const std::set<int32_t> allowed = {0, kServerFailure, kGeneralFailure, kUserCanceled, kFutureIsCancelled,
                                     TetherSource::kRenderCanceledStatus};
  std::atomic<int> blockingReturned{0};
  std::atomic<int> framesDelivered{0};
  std::atomic<int> unexpected{0};

  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 rng(1000 + t);
      for (int i = 0; i < kRequestsPerThread; ++i) {
        const TickTime time(kFrame * static_cast<int64_t>(rng() % kDistinctFrames));
        const unsigned action = rng() % 20;
        TetherSource::Frame frame;
        if (action < 7) {
          const int32_t result = source->GetFrame(time, NativeFormat(), prefs, false, frame);
          ++blockingReturned;
          if (!allowed.contains(result)) ++unexpected;
          if (result == 0) {
            Guid identifier;
            source->GetIdentifierForSourceVideo(identifier, time, NativeFormat(), prefs);
            if (!HoldsScriptedBytes(frame, identifier)) ++unexpected;
            ++framesDelivered;
          }
        } else if (action < 10) {
          if (source->GetFrame(time, NativeFormat(), prefs, true, frame) != 0) ++unexpected;
        } else if (action < 17) {
          if (source->RenderFrameAsync(time, NativeFormat(), prefs) != 0) ++unexpected;
        } else if (action < 19) {
          source->CancelFrameRender(time, NativeFormat(), prefs);
        } else {
          source->CancelPendingRequests();
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(backend->WaitForIdle());

  EXPECT_EQ(unexpected.load(), 0);
  EXPECT_GT(blockingReturned.load(), 0);
  EXPECT_EQ(source->GetPendingRenderCount(), 0u);
  EXPECT_EQ(source->GetOpenRequestCount(), 0u);
  EXPECT_EQ(source->GetVideoRendererCount(), 1u);
  EXPECT_TRUE(backend->CallbackExceptions().empty());
}

// Frames of many sources of one item meet in one cache entry whichever source
// rendered them.
TEST_F(TetherSourceConcurrencyTest, SourcesOfOneItemShareFramesThroughTheCache) {
  SourceRef first = MakeSource();
  SourceRef second = MakeSource();
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      TetherSource& source = (t % 2 == 0) ? *first : *second;
      for (int i = 0; i < 20; ++i) {
        if (source.RenderFrameAsync(TickTime(kFrame * (i % 4)), NativeFormat(), prefs) != 0) ++failures;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(backend->WaitForIdle());
  EXPECT_EQ(failures.load(), 0);
  for (int i = 0; i < 4; ++i) {
    TetherSource::Frame fromFirst;
    TetherSource::Frame fromSecond;
    first->GetFrame(TickTime(kFrame * i), NativeFormat(), prefs, true, fromFirst);
    second->GetFrame(TickTime(kFrame * i), NativeFormat(), prefs, true, fromSecond);
    EXPECT_TRUE(fromFirst);
    EXPECT_TRUE(fromFirst == fromSecond);
  }
}

}  // namespace
}  // namespace TetherMedia::testing
