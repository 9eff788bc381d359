// Frames pulled through the module carry the server's stamp of what it was
// asked for: the time and frame, the size and pixel format the host settled,
// and the render options of the clip's prefs.

#include "ModuleRoadTest.h"

#include <kilnmediatypes/PixelFormat.h>

#include <algorithm>
#include <vector>

namespace TetherMedia::integration {
namespace {

using kilnmediatypes::TickTime;
using tetherserver::FrameStamp;

using FrameStampTest = ModuleRoadTest;

// The frame at `time`, asked for by a blocking request.
KL::IVideoSource::Frame Frame(const HostClip& clip, TickTime time, const RL::FrameFormat& format) {
  KL::IVideoSource::Frame frame;
  EXPECT_EQ(GetFrameAsTheHostDoes(clip, time, format, frame), 0);
  return frame;
}

// The stamp of the frame at `time`; fails the test if there is none.
FrameStamp StampAt(const HostClip& clip, TickTime time, const RL::FrameFormat& format) {
  const std::optional<FrameStamp> stamp = StampOf(Frame(clip, time, format));
  EXPECT_TRUE(stamp) << "no readable stamp at " << time.GetTicks();
  return stamp.value_or(FrameStamp{});
}

// `format` is settled at half the simple sample's size, and its frame is drawn
// at that size without down-sampling.
void ExpectHalfSizeFrameInFullDetail(const HostClip& clip, const RL::FrameFormat& format) {
  ASSERT_EQ(format.width, 960);
  ASSERT_EQ(format.height, 540);
  const FrameStamp stamp = StampAt(clip, TickTime(0), format);
  EXPECT_EQ(stamp.width, 960);
  EXPECT_EQ(stamp.height, 540);
  EXPECT_FALSE(stamp.ResolutionReduced());
}

TEST_P(FrameStampTest, FramesCarryTheRequestedTimeAndSettledFormat) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const RL::FrameFormat format = SettledBGRA();
  ASSERT_EQ(format.pixelFormat, kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  ASSERT_EQ(format.width, 1920);
  ASSERT_EQ(format.height, 1080);

  for (const int64_t frameNumber : {0, 1, 100, 249}) {
    SCOPED_TRACE(frameNumber);
    const TickTime time = FrameTime(frameNumber);
    const KL::IVideoSource::Frame frame = Frame(*mClip, time, format);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->GetIdentifier(), mClip->FrameIdentifier(time, format));
    const std::optional<FrameStamp> stamp = StampOf(frame);
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->ticks, time.GetTicks());
    EXPECT_EQ(stamp->frameNumber, frameNumber);
    EXPECT_EQ(stamp->width, 1920);
    EXPECT_EQ(stamp->height, 1080);
    EXPECT_EQ(stamp->pixelFormatCode, FrameStamp::PixelFormatCode(format.pixelFormat.fourcc));
    EXPECT_EQ(stamp->contentState, mExample.project->GetContentState(kSimpleComposition));
  }
  // However often the host had to ask again, each frame was rendered once.
  EXPECT_EQ(ServerFrames(), 4u);
}

TEST_P(FrameStampTest, TimeBetweenFramesIsStampedWithTheFrameThatHoldsIt) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const TickTime time(FrameTime(10).GetTicks() + 1000);
  const FrameStamp stamp = StampAt(*mClip, time, SettledBGRA());
  EXPECT_EQ(stamp.ticks, time.GetTicks());
  EXPECT_EQ(stamp.frameNumber, 10);
}

TEST_P(FrameStampTest, SmallerSettledSizeIsTheSizeRendered) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const RL::FrameFormat format =
      mClip->Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u, 960, 540));
  ExpectHalfSizeFrameInFullDetail(*mClip, format);
}

TEST_P(FrameStampTest, NativeFormatOfAFieldedItemIsItsSizeAndFieldOrder) {
  // The lower-field SD composition of the nested sample, non-square pixels.
  const kilncore::utility::Guid fielded(u"C0000000-0000-4000-8000-000000000003");
  ASSERT_TRUE(ImportClip("nested.marlp", fielded));
  RL::FrameFormat wanted;
  wanted.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
  const RL::FrameFormat format = mClip->Select(TickTime(0), wanted);
  EXPECT_EQ(format.width, 720);
  EXPECT_EQ(format.height, 480);
  EXPECT_EQ(format.fieldType, kilnmediatypes::FieldType(2));
  EXPECT_EQ(format.pixelAspectRatio, kilnmediatypes::PixelAspectRatio(10, 11));

  const FrameStamp stamp = StampAt(*mClip, FrameTime(5), format);
  EXPECT_EQ(stamp.fieldType, 2);
  EXPECT_EQ(stamp.width, 720);
  EXPECT_EQ(stamp.height, 480);
  EXPECT_EQ(stamp.frameNumber, 5);
}

TEST_P(FrameStampTest, FloatFormatOfferedByTheItemIsRenderedAsFloat) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  std::vector<kilnmediatypes::PixelFormat> native;
  ASSERT_GE(mClip->Video()->GetNativePixelFormats(native), 0);
  ASSERT_NE(std::find(native.begin(), native.end(), kilnmediatypes::kPixelFormat_RGBA_4444_32f), native.end());

  const RL::FrameFormat format = mClip->Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_RGBA_4444_32f));
  ASSERT_EQ(format.pixelFormat.fourcc, kilnmediatypes::kPixelFormat_RGBA_4444_32f.fourcc);
  const KL::IVideoSource::Frame frame = Frame(*mClip, FrameTime(42), format);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->GetDataSize(), size_t{1920} * 1080 * 16);
  const std::optional<FrameStamp> stamp = StampOf(frame);
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->pixelFormatCode, FrameStamp::PixelFormatCode(kilnmediatypes::kPixelFormat_RGBA_4444_32f.fourcc));
  EXPECT_EQ(stamp->frameNumber, 42);
}

TEST_P(FrameStampTest, GuideLayersFollowTheClipsRenderOptions) {
  tether::MarlRenderOptions guides;
  guides.renderGuideLayers = true;
  ASSERT_TRUE(ImportClip(kTitleTemplate, kTitleComposition, &guides));
  // A second clip of the same item without guides.
  const HostClip plain(mExamples.SecondCopy(kTitleTemplate), kTitleComposition);
  ASSERT_EQ(plain.ImportResult(), 0);

  const RL::FrameFormat format = SettledBGRA();
  const TickTime time = FrameTime(30);
  const FrameStamp guided = StampAt(*mClip, time, format);
  const FrameStamp unguided = StampAt(plain, time, format);
  EXPECT_TRUE(guided.GuideLayersDrawn());
  EXPECT_FALSE(unguided.GuideLayersDrawn());
  EXPECT_NE(guided.optionsHash, unguided.optionsHash);
  // Two different pictures of one time must not share a cache entry.
  EXPECT_NE(mClip->FrameIdentifier(time, format), plain.FrameIdentifier(time, format));
  EXPECT_EQ(ServerFrames(), 2u);
}

TEST_P(FrameStampTest, DownSamplingInTheOpaqueDataReducesTheResolutionRendered) {
  tether::MarlRenderOptions halved;
  halved.downSampleX = 2;
  halved.downSampleY = 2;
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition, &halved));
  const RL::FrameFormat format = SettledBGRA();
  ASSERT_EQ(format.width, 1920);
  const FrameStamp stamp = StampAt(*mClip, TickTime(0), format);
  EXPECT_TRUE(stamp.ResolutionReduced());
  EXPECT_EQ(stamp.width, 1920);
  EXPECT_EQ(stamp.height, 1080);
}

TEST_P(FrameStampTest, PatchedDownSamplingShrinksTheItemAndRendersItsNewSize) {
  tether::MarlRenderOptions patched;
  patched.downSampleX = 2;
  patched.downSampleY = 2;
  patched.needsToPatchSourceForDownsample = true;
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition, &patched));
  RL::RectT<int> size;
  ASSERT_GE(mClip->Video()->GetFrameSize(size), 0);
  EXPECT_EQ(size.Width(), 960);
  EXPECT_EQ(size.Height(), 540);

  // The host asks for the reduced size itself, so the server draws it in full.
  ExpectHalfSizeFrameInFullDetail(*mClip, SettledBGRA());
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(FrameStampTest);

}  // namespace
}  // namespace TetherMedia::integration
