// Audio pulled through the host's audio source of an imported clip is the
// server's synthesised sound of the composition, sample for sample.

#include "ModuleRoadTest.h"

#include <server/render/AudioSynthesizer.h>

#include <kilnaudiotoolkit/AudioBuffer.h>

namespace TetherMedia::integration {
namespace {

using kilnmediatypes::TickTime;

using AudioTest = ModuleRoadTest;

constexpr uint32_t kBlockFrames = 1024;

// An item of the nested sample: six channels at 48 kHz with a tone on all.
const kilncore::utility::Guid kSurroundComposition(u"C0000000-0000-4000-8000-000000000001");
// An item of the nested sample: one channel at 44.1 kHz.
const kilncore::utility::Guid kMonoComposition(u"C0000000-0000-4000-8000-000000000002");

class AudioReader {
 public:
  AudioReader(const HostClip& clip, const tetherserver::Composition& composition)
      : mComposition(composition), mAudio(clip.Audio()) {}

  bool HasSource() const { return static_cast<bool>(mAudio); }

  // Reads the block at sample `first` and counts the samples, over all
  // channels, that differ from the synthesiser's.
  size_t MismatchesInBlockAt(int64_t first) const {
    const uint32_t channels = mComposition.audio.channelCount;
    const uint32_t rate = mComposition.audio.sampleRate;
    kilnaudiotoolkit::AudioBuffer buffer(channels, kBlockFrames);
    const TickTime position(first * (TickTime::kTicksPerSecond / rate));
    EXPECT_EQ(mAudio->ReadAudio(0, buffer, position), 0);
    size_t mismatches = 0;
    for (uint32_t c = 0; c < channels; ++c) {
      for (uint32_t i = 0; i < kBlockFrames; ++i) {
        const float expected = tetherserver::AudioSynthesizer::ExpectedSample(mComposition, rate, first + i, c);
        if (buffer.GetChannel(c)[i] != expected) ++mismatches;
      }
    }
    return mismatches;
  }

 private:
  const tetherserver::Composition& mComposition;
  kilncore::classref::InterfaceRef<DR::IAudioSource> mAudio;
};

TEST_P(AudioTest, StereoBlocksReadOnAreTheCompositionsSamples) {
  const ExampleComposition example = mExamples.Find(kSimpleProject, kSimpleComposition);
  const HostClip clip(example.path, kSimpleComposition);
  ASSERT_EQ(clip.ImportResult(), 0);
  const AudioReader reader(clip, *example.composition);
  ASSERT_TRUE(reader.HasSource());
  for (int64_t block = 0; block < 3; ++block) {
    EXPECT_EQ(reader.MismatchesInBlockAt(block * kBlockFrames), 0u) << "block " << block;
  }
}

TEST_P(AudioTest, ReadAfterAJumpIsTheCompositionsSamplesAtTheNewPosition) {
  const ExampleComposition example = mExamples.Find(kSimpleProject, kSimpleComposition);
  const HostClip clip(example.path, kSimpleComposition);
  ASSERT_EQ(clip.ImportResult(), 0);
  const AudioReader reader(clip, *example.composition);
  ASSERT_TRUE(reader.HasSource());
  EXPECT_EQ(reader.MismatchesInBlockAt(0), 0u);
  EXPECT_EQ(reader.MismatchesInBlockAt(48000 * 7 + 13), 0u);
  EXPECT_EQ(reader.MismatchesInBlockAt(4096), 0u);
}

TEST_P(AudioTest, SixChannelBlockIsTheCompositionsSamples) {
  const ExampleComposition example = mExamples.Find("nested.marlp", kSurroundComposition);
  const HostClip clip(example.path, kSurroundComposition);
  ASSERT_EQ(clip.ImportResult(), 0);
  const AudioReader reader(clip, *example.composition);
  ASSERT_TRUE(reader.HasSource());
  EXPECT_EQ(reader.MismatchesInBlockAt(2048), 0u);
}

TEST_P(AudioTest, MonoBlockAtItsOwnRateIsTheCompositionsSamples) {
  const ExampleComposition example = mExamples.Find("nested.marlp", kMonoComposition);
  const HostClip clip(example.path, kMonoComposition);
  ASSERT_EQ(clip.ImportResult(), 0);
  const AudioReader reader(clip, *example.composition);
  ASSERT_TRUE(reader.HasSource());
  EXPECT_EQ(reader.MismatchesInBlockAt(0), 0u);
  EXPECT_EQ(reader.MismatchesInBlockAt(kBlockFrames), 0u);
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(AudioTest);

}  // namespace
}  // namespace TetherMedia::integration
