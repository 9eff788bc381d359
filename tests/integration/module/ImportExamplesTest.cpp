// Every composition of every Marl sample, imported the way a host imports an
// existing clip, reports the duration, rate and size its project file gives.

#include "ModuleRoadTest.h"

#include <RL/MediaType.h>
#include <RL/RectT.h>
#include <TetherMedia/Prefs.h>

#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/RatioTime.h>

#include <thread>
#include <vector>

namespace TetherMedia::integration {
namespace {

using ImportExamplesTest = ModuleRoadTest;
using kilncore::classref::InterfaceRef;

TEST_P(ImportExamplesTest, EverySampleCompositionImportsWithItsFilesTiming) {
  const std::vector<ExampleComposition> all = mExamples.AllCompositions();
  ASSERT_EQ(all.size(), 10u);  // 1 in simple, 5 in nested, 1 in title, 1 in captioned, 1 in linked, 1 in markers
  for (const ExampleComposition& example : all) {
    const tetherserver::Composition& composition = *example.composition;
    SCOPED_TRACE(composition.name);
    const HostClip clip(example.path, composition.id);
    ASSERT_EQ(clip.ImportResult(), 0);
    ASSERT_TRUE(clip.Item());
    const auto video = clip.Video();
    ASSERT_TRUE(video);

    kilnmediatypes::TickTime duration;
    ASSERT_GE(InterfaceRef<RL::ISource>(video)->GetDuration(duration), 0);
    EXPECT_EQ(duration, kilnmediatypes::RatioTimeToTime(composition.Duration()));
    kilnmediatypes::FrameRate rate;
    ASSERT_GE(video->GetFrameRate(rate), 0);
    EXPECT_EQ(rate.GetTicksPerFrame(), composition.FrameTicks());
    RL::RectT<int> size;
    ASSERT_GE(video->GetFrameSize(size), 0);
    EXPECT_EQ(size.Width(), static_cast<int>(composition.width));
    EXPECT_EQ(size.Height(), static_cast<int>(composition.height));
    kilnmediatypes::PixelAspectRatio ratio;
    ASSERT_GE(video->GetPixelAspectRatio(ratio), 0);
    EXPECT_EQ(ratio, kilnmediatypes::PixelAspectRatio(composition.pixelAspectRatio.numerator,
                                                      composition.pixelAspectRatio.denominator));
    EXPECT_EQ(video->GetFieldType(), static_cast<kilnmediatypes::FieldType>(composition.fieldType));
    EXPECT_EQ(clip.Item()->GetNumStreams(RL::kMediaType_Audio), composition.audio.HasAudio() ? 1u : 0u);
    EXPECT_EQ(clip.Item()->GetMediaProducerDescription(),
              kilncore::string::UTF8to16(tetherserver::Project::kProducerDescription));
  }
}

TEST_P(ImportExamplesTest, ImportedClipKeepsItsItemInTheReturnedPrefs) {
  const ExampleComposition example = mExamples.Find(kSimpleProject, kSimpleComposition);
  const HostClip clip(example.path, kSimpleComposition);
  ASSERT_EQ(clip.ImportResult(), 0);
  EXPECT_EQ(PrefsToSourceID(clip.Prefs()), kSimpleComposition);
  EXPECT_EQ(clip.Item()->GetMediaDisplayName(), kilncore::string::UTF8to16("Simple 1080p25/simple.marlp"));
}

TEST_P(ImportExamplesTest, ItemThatIsNoCompositionOfTheFileEndsWithoutASource) {
  const ExampleComposition example = mExamples.Find(kSimpleProject, kSimpleComposition);
  const HostClip clip(example.path, kTitleComposition);
  EXPECT_EQ(static_cast<uint32_t>(clip.ImportResult()), 0xA00703E9u);
}

TEST_P(ImportExamplesTest, ImportsOnSeveralThreadsAtOnceEachGetTheirOwnItem) {
  const std::vector<ExampleComposition> all = mExamples.AllCompositions();
  std::vector<int32_t> results(all.size(), -1);
  std::vector<kilncore::utility::Guid> imported(all.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < all.size(); ++i) {
    threads.emplace_back([&, i] {
      const HostClip clip(all[i].path, all[i].composition->id);
      results[i] = clip.ImportResult();
      if (clip.Item()) imported[i] = PrefsToSourceID(clip.Prefs());
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(results[i], 0) << all[i].composition->name;
    EXPECT_EQ(imported[i], all[i].composition->id) << all[i].composition->name;
  }
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(ImportExamplesTest);

}  // namespace
}  // namespace TetherMedia::integration
