#include "AudioTestSupport.h"

#include <Crate/ApplicationType.h>

#include <kilncore/debug/TraceCapture.h>

#include <kilnmediatypes/RatioTime.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilnaudiotoolkit::AudioBuffer;
using kilnmediatypes::TickTime;
using tether::testing::Behaviour;
using tether::testing::Delivery;
using tether::testing::GetAudioRendererArgs;
using tether::testing::Operation;

constexpr uint32_t kBlock = 1024;

class TetherSourceAudioReadTest : public SourceTest {
 protected:
  int32_t Read(const SourceRef& source, AudioBuffer& buffer, int64_t frame) {
    return source->ReadAudio(0, buffer, AtFrame(frame));
  }

  size_t Opened() const { return backend->CallCount(Operation::kGetAudioRenderer); }
  size_t Rendered() const { return backend->CallCount(Operation::kRenderAudio); }
};

// --- The positional read.

TEST_F(TetherSourceAudioReadTest, BlockAfterBlockEqualsTheServersSamplesWithOneOpening) {
  SourceRef source = MakeSource();
  constexpr int kBlocks = 40;
  for (int b = 0; b < kBlocks; ++b) {
    AudioBuffer buffer = BufferOf(2, kBlock, -1.0f);
    ASSERT_EQ(Read(source, buffer, int64_t{b} * kBlock), 0) << "block " << b;
    EXPECT_TRUE(HoldsSamples(buffer, int64_t{b} * kBlock, kBlock, 2)) << "block " << b;
    EXPECT_TRUE(buffer.IsFilled());
  }
  // The first read (at 0) opened the reader; the others went on with it.
  EXPECT_EQ(Opened(), 1u);
  EXPECT_EQ(Rendered(), static_cast<size_t>(kBlocks));
  EXPECT_EQ(source->GetNextAudioFrame(), int64_t{kBlocks} * kBlock);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 1u);
}

TEST_F(TetherSourceAudioReadTest, AResetAndAReadOnAreTracedWithTheirPositions) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("TetherMedia", 10);
  SourceRef source = MakeSource();
  AudioBuffer buffer = BufferOf(2, kBlock, 0.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  ASSERT_EQ(Read(source, buffer, kBlock), 0);
  kilncore::debug::SetTraceLevel("TetherMedia", -1);
  EXPECT_TRUE(trace.Contains("TetherMedia", "Audio reset to position: 0"));
  EXPECT_TRUE(trace.Contains("TetherMedia",
                             "Reading audio for position: " + std::to_string(AtFrame(kBlock).GetTicks())));
  EXPECT_FALSE(trace.Contains("TetherMedia", "Audio reset to position: " + std::to_string(AtFrame(kBlock).GetTicks())));
}

TEST_F(TetherSourceAudioReadTest, TheReaderIsOpenedForTheItemsLayoutRateAndTheBuffersFrames) {
  SourceRef source = MakeSource(AudioItem({1, 2, 3, 4, 5, 6}));
  AudioBuffer buffer(6, 700);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  const auto calls = backend->Calls(Operation::kGetAudioRenderer);
  ASSERT_EQ(calls.size(), 1u);
  const auto& args = calls[0].Args<GetAudioRendererArgs>();
  EXPECT_EQ(args.options.GetAudioChannelLayout(), (std::vector<tether::AudioChannelLabel>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(args.options.GetSampleRate(), kTicksPerSample);
  EXPECT_EQ(args.position, tether::RatioTime(0));
  EXPECT_EQ(args.blockSamples, 6u * 700u);
  EXPECT_TRUE(HoldsSamples(buffer, 0, 700, 6));
}

TEST_F(TetherSourceAudioReadTest, TheFirstReadAtZeroOpensTheReaderThoughItsNextFrameIsZero) {
  SourceRef source = MakeSource();
  ASSERT_EQ(source->GetNextAudioFrame(), 0);
  ASSERT_FALSE(source->HasAudioRenderer());
  AudioBuffer buffer(2, kBlock);
  EXPECT_EQ(Read(source, buffer, 0), 0);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_TRUE(source->HasAudioRenderer());
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, ReadingAtZeroAgainReopensTheReader) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  ASSERT_EQ(Read(source, buffer, kBlock), 0);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_EQ(Opened(), 2u);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
  EXPECT_EQ(source->GetNextAudioFrame(), kBlock);
}

TEST_F(TetherSourceAudioReadTest, ReadingTheSamePositionTwiceSendsNothingToTheServer) {
  SourceRef source = MakeSource();
  AudioBuffer first(2, kBlock);
  ASSERT_EQ(Read(source, first, 0), 0);
  AudioBuffer second(2, kBlock);
  ASSERT_EQ(Read(source, second, kBlock), 0);

  AudioBuffer again = BufferOf(2, kBlock, -1.0f);
  ASSERT_EQ(Read(source, again, kBlock), 0);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_EQ(Rendered(), 2u);
  EXPECT_TRUE(HoldsSamples(again, kBlock, kBlock, 2));
  EXPECT_TRUE(again.IsFilled());
  // Nor does the reader move: the next block follows on.
  EXPECT_EQ(source->GetNextAudioFrame(), 2 * kBlock);
  ASSERT_EQ(Read(source, again, 2 * kBlock), 0);
  EXPECT_TRUE(HoldsSamples(again, 2 * kBlock, kBlock, 2));
  EXPECT_EQ(Opened(), 1u);
}

TEST_F(TetherSourceAudioReadTest, OnlyTheLastBlockIsKept) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  ASSERT_EQ(Read(source, buffer, kBlock), 0);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 1u);
  // The block at 0 is gone: reading it again reopens the reader.
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_EQ(Opened(), 2u);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 1u);
}

TEST_F(TetherSourceAudioReadTest, AJumpBackReopensAtTheNewPositionAndEmptiesTheCache) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  for (int64_t frame = 0; frame <= 4 * kBlock; frame += kBlock) ASSERT_EQ(Read(source, buffer, frame), 0);
  ASSERT_EQ(Opened(), 1u);

  ASSERT_EQ(Read(source, buffer, 1500), 0);
  const auto calls = backend->Calls(Operation::kGetAudioRenderer);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[1].Args<GetAudioRendererArgs>().position, kilnmediatypes::TimeToRatioTime(AtFrame(1500)));
  EXPECT_TRUE(HoldsSamples(buffer, 1500, kBlock, 2));
  EXPECT_EQ(source->GetNextAudioFrame(), 1500 + kBlock);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 1u);
  // The block read before the jump went with the old reader.
  ASSERT_EQ(Read(source, buffer, 4 * kBlock), 0);
  EXPECT_EQ(Opened(), 3u);
  EXPECT_TRUE(HoldsSamples(buffer, 4 * kBlock, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, AJumpForwardReopensAtTheNewPositionAndGoesOnFromThere) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  ASSERT_EQ(Read(source, buffer, 96000), 0);
  EXPECT_EQ(Opened(), 2u);
  EXPECT_EQ(backend->Calls(Operation::kGetAudioRenderer)[1].Args<GetAudioRendererArgs>().position,
            tether::RatioTime(2));
  EXPECT_TRUE(HoldsSamples(buffer, 96000, kBlock, 2));
  ASSERT_EQ(Read(source, buffer, 96000 + kBlock), 0);
  EXPECT_EQ(Opened(), 2u);
  EXPECT_TRUE(HoldsSamples(buffer, 96000 + kBlock, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, AReadPastTheEndClosesTheReaderAtTheEndFrame) {
  // 4800 frames: the fifth block of 1024 passes the end.
  SourceRef source = MakeSource(AudioItem({1, 2}, 4800));
  AudioBuffer buffer(2, kBlock);
  for (int64_t frame = 0; frame < 4 * kBlock; frame += kBlock) ASSERT_EQ(Read(source, buffer, frame), 0);
  EXPECT_TRUE(source->HasAudioRenderer());
  EXPECT_EQ(source->GetNextAudioFrame(), 4 * kBlock);

  ASSERT_EQ(Read(source, buffer, 4 * kBlock), 0);
  // The server's block is taken whole; the reader stops at the end.
  EXPECT_TRUE(HoldsSamples(buffer, 4 * kBlock, kBlock, 2));
  EXPECT_EQ(source->GetNextAudioFrame(), 4800);
  EXPECT_FALSE(source->HasAudioRenderer());
}

TEST_F(TetherSourceAudioReadTest, AReadExactlyAtTheEndFindsNoReaderAndFails) {
  SourceRef source = MakeSource(AudioItem({1, 2}, 2000));
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  ASSERT_EQ(Read(source, buffer, kBlock), 0);
  ASSERT_EQ(source->GetNextAudioFrame(), 2000);
  const size_t renderedBefore = Rendered();

  EXPECT_EQ(Read(source, buffer, 2000), kGeneralFailure);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_EQ(Rendered(), renderedBefore);
  EXPECT_EQ(source->GetNextAudioFrame(), 2000);
  // Any other position reopens the reader.
  EXPECT_EQ(Read(source, buffer, 1900), 0);
  EXPECT_EQ(Opened(), 2u);
  EXPECT_EQ(source->GetNextAudioFrame(), 2000);
}

// --- How a block reaches the buffer.

TEST_F(TetherSourceAudioReadTest, AMonoItemFillsItsOneChannel) {
  SourceRef source = MakeSource(AudioItem({3}));
  AudioBuffer buffer = BufferOf(1, kBlock, -1.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 1));
  ASSERT_EQ(Read(source, buffer, kBlock), 0);
  EXPECT_TRUE(HoldsSamples(buffer, kBlock, kBlock, 1));
  EXPECT_EQ(source->GetNextAudioFrame(), 2 * kBlock);
}

TEST_F(TetherSourceAudioReadTest, AStereoItemIsSpreadIntoItsTwoChannels) {
  SourceRef source = MakeSource();
  AudioBuffer buffer = BufferOf(2, kBlock, -1.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
  // The two channels differ, so they can't have been swapped or doubled.
  EXPECT_NE(buffer.GetChannel(0)[5], buffer.GetChannel(1)[5]);
}

TEST_F(TetherSourceAudioReadTest, ABlockThatEndsInAPartialFrameLosesItsTail) {
  auto setup = AudioItem({1, 2});
  setup.audioBlockBytes = 100 * 2 * sizeof(float) + 5;  // 100 frames, one sample and a byte more
  SourceRef source = MakeSource(setup);
  AudioBuffer buffer = BufferOf(2, 200, -1.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, 100, 2));
  EXPECT_EQ(buffer.GetChannel(0)[100], -1.0f);
  EXPECT_EQ(buffer.GetChannel(1)[100], -1.0f);
  EXPECT_EQ(source->GetNextAudioFrame(), 100);
  EXPECT_TRUE(buffer.IsFilled());
}

TEST_F(TetherSourceAudioReadTest, ABlockLargerThanTheBufferFillsOnlyTheBufferButMovesOnByTheBlock) {
  auto setup = AudioItem({1, 2});
  setup.audioBlockBytes = 1024 * 2 * sizeof(float);
  SourceRef source = MakeSource(setup);
  // The buffer wants 512 frames of arrays that go on further: the rest must
  // stay as it was.
  std::vector<float> left(600, -1.0f);
  std::vector<float> right(600, -1.0f);
  float* channels[] = {left.data(), right.data()};
  AudioBuffer buffer(channels, 2, 512);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, 512, 2));
  for (size_t i = 512; i < 600; ++i) {
    ASSERT_EQ(left[i], -1.0f) << i;
    ASSERT_EQ(right[i], -1.0f) << i;
  }
  EXPECT_EQ(source->GetNextAudioFrame(), 1024);
  // The reader stands after the whole block: the host reading there goes on.
  ASSERT_EQ(Read(source, buffer, 1024), 0);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_TRUE(HoldsSamples(buffer, 1024, 512, 2));
}

TEST_F(TetherSourceAudioReadTest, ChannelsTheBufferDoesNotHaveAreSkipped) {
  SourceRef source = MakeSource(AudioItem({1, 2, 3, 4, 5, 6}));
  AudioBuffer buffer = BufferOf(2, kBlock, -1.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
  // The reader moved on by the frames of all six channels.
  EXPECT_EQ(source->GetNextAudioFrame(), kBlock);
}

TEST_F(TetherSourceAudioReadTest, ABlockShorterThanOneFrameCopiesNothingButMarksTheBuffer) {
  auto setup = AudioItem({1, 2});
  setup.audioBlockBytes = sizeof(float);  // the left sample of one frame
  SourceRef source = MakeSource(setup);
  AudioBuffer buffer = BufferOf(2, kBlock, -1.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(AllSamplesAre(buffer, -1.0f));
  EXPECT_TRUE(buffer.IsFilled());
  EXPECT_EQ(source->GetNextAudioFrame(), 0);
}

// An empty shared block has no address: the read succeeds and the buffer is
// left as it was, unmarked.
TEST_F(TetherSourceAudioReadTest, ABlockWithoutAddressLeavesTheBufferAndThePositionAlone) {
  auto setup = AudioItem({1, 2});
  setup.audioBlockBytes = 0;
  SourceRef source = MakeSource(setup);
  AudioBuffer buffer = BufferOf(2, kBlock, -1.0f);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(AllSamplesAre(buffer, -1.0f));
  EXPECT_FALSE(buffer.IsFilled());
  EXPECT_EQ(source->GetNextAudioFrame(), 0);
}

// --- Items without audio to render.

TEST_F(TetherSourceAudioReadTest, AnItemWithoutAudioReadsAsSilence) {
  auto setup = AudioItem({1, 2});
  setup.info.hasAudio = false;
  SourceRef source = MakeSource(setup);
  AudioBuffer buffer = BufferOf(2, kBlock, 0.5f);
  EXPECT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(AllSamplesAre(buffer, 0.0f));
  EXPECT_FALSE(buffer.IsFilled());
  buffer = BufferOf(2, kBlock, 0.5f);
  EXPECT_EQ(source->ReadAudioSequential(0, buffer, true), 0);
  EXPECT_TRUE(AllSamplesAre(buffer, 0.0f));
  EXPECT_EQ(Opened(), 0u);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 0u);
}

TEST_F(TetherSourceAudioReadTest, ThirtyTwoChannelsReadAsSilenceOutsideTheMixingHosts) {
  std::vector<tether::AudioChannelLabel> layout(32, 0);
  for (const int32_t applicationType : {0, 1, 5, 3, 2, 8, 11}) {
    SCOPED_TRACE(applicationType);
    const Crate::ScopedApplicationType playing(applicationType);
    SourceRef source = MakeSource(AudioItem(layout));
    const bool mixingHost = applicationType == 2 || applicationType == 8 || applicationType == 11;
    const size_t openedBefore = Opened();
    AudioBuffer buffer = BufferOf(32, 256, 0.5f);
    ASSERT_EQ(Read(source, buffer, 0), 0);
    if (mixingHost) {
      EXPECT_TRUE(HoldsSamples(buffer, 0, 256, 32));
      EXPECT_TRUE(buffer.IsFilled());
      EXPECT_EQ(Opened(), openedBefore + 1);
    } else {
      EXPECT_TRUE(AllSamplesAre(buffer, 0.0f));
      EXPECT_FALSE(buffer.IsFilled());
      EXPECT_EQ(Opened(), openedBefore);
    }
    buffer = BufferOf(32, 256, 0.5f);
    ASSERT_EQ(source->ReadAudioSequential(0, buffer, true), 0);
    EXPECT_EQ(AllSamplesAre(buffer, 0.0f), !mixingHost);
  }
}

TEST_F(TetherSourceAudioReadTest, ThirtyOneChannelsPlayInEveryHost) {
  std::vector<tether::AudioChannelLabel> layout(31, 0);
  SourceRef source = MakeSource(AudioItem(layout));
  const Crate::ScopedApplicationType playing(1);
  AudioBuffer buffer(31, 128);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, 128, 31));
}

// --- The sequential read.

TEST_F(TetherSourceAudioReadTest, ASequentialReadWithResetStartsAtTheBeginningAndGoesOn) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(source->ReadAudioSequential(0, buffer, true), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
  ASSERT_EQ(source->ReadAudioSequential(0, buffer, false), 0);
  EXPECT_TRUE(HoldsSamples(buffer, kBlock, kBlock, 2));
  EXPECT_EQ(Opened(), 1u);
  EXPECT_EQ(source->GetNextAudioFrame(), 2 * kBlock);
  // Sequential reads keep no block.
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 0u);
  // A positional read where the reader stands goes on with it.
  ASSERT_EQ(Read(source, buffer, 2 * kBlock), 0);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_TRUE(HoldsSamples(buffer, 2 * kBlock, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, ASequentialReadWithoutAnOpenReaderFails) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  EXPECT_EQ(source->ReadAudioSequential(0, buffer, false), kGeneralFailure);
  EXPECT_EQ(Opened(), 0u);
  EXPECT_EQ(Rendered(), 0u);
}

// --- Failures.

TEST_F(TetherSourceAudioReadTest, AServerThatRefusesTheReaderFailsTheReadAndTheCacheIsEmptied) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  ASSERT_EQ(source->GetAudioBlockCacheSize(), 1u);
  backend->ScriptNext(Operation::kGetAudioRenderer, Behaviour::Fail());
  EXPECT_EQ(Read(source, buffer, 9000), kGeneralFailure);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 0u);
  // The reader that was open stays where it stood.
  EXPECT_EQ(source->GetNextAudioFrame(), kBlock);
  EXPECT_TRUE(source->HasAudioRenderer());
  EXPECT_EQ(Read(source, buffer, kBlock), 0);
  EXPECT_TRUE(HoldsSamples(buffer, kBlock, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, AServerThatAnswersWithoutAReaderFailsTheReadAndLeavesNoneOpen) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  backend->ScriptNext(Operation::kGetAudioRenderer, Behaviour::NullResult());
  EXPECT_EQ(Read(source, buffer, 9000), kGeneralFailure);
  EXPECT_FALSE(source->HasAudioRenderer());
  EXPECT_EQ(source->GetNextAudioFrame(), 9000);
  EXPECT_EQ(Rendered(), 1u);
}

TEST_F(TetherSourceAudioReadTest, AFailedBlockFailsTheReadAndChangesNeitherCacheNorPosition) {
  SourceRef source = MakeSource();
  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  backend->ScriptNext(Operation::kRenderAudio, Behaviour::Fail());
  AudioBuffer failed = BufferOf(2, kBlock, -1.0f);
  EXPECT_EQ(Read(source, failed, kBlock), kGeneralFailure);
  EXPECT_TRUE(AllSamplesAre(failed, -1.0f));
  EXPECT_EQ(source->GetNextAudioFrame(), kBlock);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 1u);
  // The block at 0 is still kept.
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, AServerThatAnswersWithoutABlockFailsTheRead) {
  SourceRef source = MakeSource();
  backend->ScriptNext(Operation::kRenderAudio, Behaviour::NullResult());
  AudioBuffer buffer(2, kBlock);
  EXPECT_EQ(Read(source, buffer, 0), kGeneralFailure);
  EXPECT_EQ(source->GetNextAudioFrame(), 0);
  EXPECT_FALSE(buffer.IsFilled());
}

TEST_F(TetherSourceAudioReadTest, CancellingDuringABlockWaitEndsTheReadAsCancelledAndTheNextReadWorks) {
  SourceRef source = MakeSource();
  backend->ScriptNext(Operation::kRenderAudio, Behaviour::Succeed().With(Delivery::kHold));
  auto reading = std::async(std::launch::async, [&] {
    AudioBuffer buffer(2, kBlock);
    return Read(source, buffer, 0);
  });
  // The request is in the table before the server is asked, so once the call
  // is held a cancel reaches it.
  ASSERT_TRUE(backend->WaitForHeld(1));
  source->CancelPendingRequests();
  EXPECT_EQ(reading.get(), kUserCanceled);
  EXPECT_EQ(source->GetNextAudioFrame(), 0);
  EXPECT_EQ(source->GetAudioBlockCacheSize(), 0u);

  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
}

TEST_F(TetherSourceAudioReadTest, CancellingWhileTheReaderOpensEndsTheReadAsCancelled) {
  SourceRef source = MakeSource();
  backend->ScriptNext(Operation::kGetAudioRenderer, Behaviour::Succeed().With(Delivery::kHold));
  auto reading = std::async(std::launch::async, [&] {
    AudioBuffer buffer(2, kBlock);
    return Read(source, buffer, 0);
  });
  ASSERT_TRUE(backend->WaitForHeld(1));
  source->CancelPendingRequests();
  EXPECT_EQ(reading.get(), kUserCanceled);
  EXPECT_FALSE(source->HasAudioRenderer());
  EXPECT_EQ(Rendered(), 0u);

  AudioBuffer buffer(2, kBlock);
  ASSERT_EQ(Read(source, buffer, 0), 0);
  EXPECT_TRUE(HoldsSamples(buffer, 0, kBlock, 2));
}

}  // namespace
}  // namespace TetherMedia::testing
