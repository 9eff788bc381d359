// Audio pulled through the host's audio source of an imported clip is the
// server's synthesised sound of the composition, sample for sample.

#include "ModuleRoadTest.h"

#include <server/render/AudioSynthesizer.h>

#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilnmediatypes/PixelFormat.h>

#include <thread>

namespace TetherMedia::integration {
namespace {

using kilnmediatypes::TickTime;

constexpr uint32_t kBlockFrames = 1024;

// An item of the nested sample: six channels at 48 kHz with a tone on all.
const kilncore::utility::Guid kSurroundComposition(u"C0000000-0000-4000-8000-000000000001");
// An item of the nested sample: one channel at 44.1 kHz.
const kilncore::utility::Guid kMonoComposition(u"C0000000-0000-4000-8000-000000000002");

class AudioTest : public ModuleRoadTest {
 protected:
  // Imports the composition and takes its audio source as the host does.
  bool OpenAudio(const std::string& fileName, const kilncore::utility::Guid& id) {
    if (!ImportClip(fileName, id)) return false;
    mAudio = mClip->Audio();
    return static_cast<bool>(mAudio);
  }
  void TearDown() override {
    mAudio = nullptr;
    ModuleRoadTest::TearDown();
  }

  // Reads the block at sample `first` and counts the samples, over all
  // channels, that differ from the synthesiser's.
  size_t MismatchesInBlockAt(int64_t first) const {
    const tetherserver::Composition& composition = *mExample.composition;
    const uint32_t channels = composition.audio.channelCount;
    const uint32_t rate = composition.audio.sampleRate;
    kilnaudiotoolkit::AudioBuffer buffer(channels, kBlockFrames);
    const TickTime position(first * (TickTime::kTicksPerSecond / rate));
    EXPECT_EQ(mAudio->ReadAudio(0, buffer, position), 0);
    size_t mismatches = 0;
    for (uint32_t c = 0; c < channels; ++c) {
      for (uint32_t i = 0; i < kBlockFrames; ++i) {
        const float expected = tetherserver::AudioSynthesizer::ExpectedSample(composition, rate, first + i, c);
        if (buffer.GetChannel(c)[i] != expected) ++mismatches;
      }
    }
    return mismatches;
  }

  kilncore::classref::InterfaceRef<DR::IAudioSource> mAudio;
};

TEST_P(AudioTest, StereoBlocksReadOnAreTheCompositionsSamples) {
  ASSERT_TRUE(OpenAudio(kSimpleProject, kSimpleComposition));
  for (int64_t block = 0; block < 3; ++block) {
    EXPECT_EQ(MismatchesInBlockAt(block * kBlockFrames), 0u) << "block " << block;
  }
}

TEST_P(AudioTest, ReadAfterAJumpIsTheCompositionsSamplesAtTheNewPosition) {
  ASSERT_TRUE(OpenAudio(kSimpleProject, kSimpleComposition));
  EXPECT_EQ(MismatchesInBlockAt(0), 0u);
  EXPECT_EQ(MismatchesInBlockAt(48000 * 7 + 13), 0u);
  EXPECT_EQ(MismatchesInBlockAt(4096), 0u);
}

TEST_P(AudioTest, SixChannelBlockIsTheCompositionsSamples) {
  ASSERT_TRUE(OpenAudio("nested.marlp", kSurroundComposition));
  EXPECT_EQ(MismatchesInBlockAt(2048), 0u);
}

TEST_P(AudioTest, MonoBlockAtItsOwnRateIsTheCompositionsSamples) {
  ASSERT_TRUE(OpenAudio("nested.marlp", kMonoComposition));
  EXPECT_EQ(MismatchesInBlockAt(0), 0u);
  EXPECT_EQ(MismatchesInBlockAt(kBlockFrames), 0u);
}

TEST_P(AudioTest, BlockAcrossTheEndIsSilentPastTheEnd) {
  ASSERT_TRUE(OpenAudio(kSimpleProject, kSimpleComposition));
  const int64_t end = tetherserver::AudioSynthesizer::SampleCount(*mExample.composition, 48000);
  ASSERT_EQ(end, 480000);
  EXPECT_EQ(MismatchesInBlockAt(end - kBlockFrames / 2), 0u);
}

TEST_P(AudioTest, SamplesReadWhileFramesRenderAreTheCompositionsSamples) {
  ASSERT_TRUE(OpenAudio(kSimpleProject, kSimpleComposition));
  const RL::FrameFormat format =
      mClip->Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u, 480, 270));
  constexpr int kFrames = 12;
  int framesStamped = 0;
  // Playback: the host's video thread pulls frames while its audio thread
  // reads on, both through the one stream object of the item.
  std::thread video([&] {
    for (int f = 0; f < kFrames; ++f) {
      KL::IVideoSource::Frame frame;
      if (GetFrameAsTheHostDoes(*mClip, FrameTime(f), format, frame) == 0 && StampOf(frame) &&
          StampOf(frame)->frameNumber == f) {
        ++framesStamped;
      }
    }
  });
  size_t mismatches = 0;
  for (int64_t block = 0; block < kFrames; ++block) mismatches += MismatchesInBlockAt(block * kBlockFrames);
  video.join();
  EXPECT_EQ(mismatches, 0u);
  EXPECT_EQ(framesStamped, kFrames);
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(AudioTest);

}  // namespace
}  // namespace TetherMedia::integration
