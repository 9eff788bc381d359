#include "SourceTestSupport.h"

#include <source/FormatRounding.h>

#include <Crate/ApplicationType.h>
#include <RL/ColorSpaces.h>

#include <kilncore/classref/InterfaceName.h>
#include <tether/testing/CallRecord.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilnmediatypes::PixelAspectRatio;
using kilnmediatypes::TickTime;
using tether::testing::ScriptedSourceSetup;

class TetherSourceModelTest : public SourceTest {};

// --- Identity of the object.

TEST_F(TetherSourceModelTest, AnswersQueriesForItsSevenInterfacesAndItsOwnName) {
  SourceRef source = MakeSource();
  ASSERT_TRUE(source);
  EXPECT_TRUE(kilncore::classref::QueryInterfaceRef<KL::IVideoSource>(kilncore::classref::InterfaceRef<RL::ISource>(source)));
  EXPECT_TRUE((kilncore::classref::InterfaceRef<KL::IAsyncVideoSource>(kilncore::classref::InterfaceRef<RL::ISource>(source))));
  EXPECT_TRUE((kilncore::classref::InterfaceRef<DR::IAudioSource>(kilncore::classref::InterfaceRef<RL::ISource>(source))));
  EXPECT_TRUE((kilncore::classref::InterfaceRef<DR::ISequentialAudioSource>(
      kilncore::classref::InterfaceRef<RL::ISource>(source))));
  EXPECT_TRUE((kilncore::classref::InterfaceRef<RL::IRenderableExtendedStillInfo>(
      kilncore::classref::InterfaceRef<RL::ISource>(source))));
  EXPECT_TRUE((kilncore::classref::InterfaceRef<RL::ISmartRenderSegmentInfo>(
      kilncore::classref::InterfaceRef<RL::ISource>(source))));
  // The class's own name and RL::ISource give the same, first interface.
  void* own = source->QueryInterface("TetherMedia::TetherSource");
  void* first = source->QueryInterface("RL::ISource");
  EXPECT_NE(own, nullptr);
  EXPECT_EQ(own, first);
  EXPECT_EQ(source->QueryInterface("RL::ISourc"), nullptr);
  EXPECT_EQ(source->QueryInterface("KL::IMediaInfo"), nullptr);
}

TEST_F(TetherSourceModelTest, SourceRefIsTheObjectItself) {
  SourceRef source = MakeSource();
  kilncore::classref::InterfaceRef<RL::ISource> ref;
  EXPECT_EQ(source->GetSourceRef(ref), 0);
  EXPECT_TRUE(ref == source);
}

// --- Constant answers of a linked source.

TEST_F(TetherSourceModelTest, GivesTheConstantAnswersOfALinkedSource) {
  SourceRef source = MakeSource();
  EXPECT_EQ(source->GetVideoKind(), 1);
  EXPECT_EQ(source->GetAlphaKind(), 1);
  EXPECT_FALSE(source->HasMatteAlpha());
  EXPECT_EQ(source->GetSourceCode(), 0x5454484Du);  // "TTHM"
  EXPECT_TRUE(source->VideoQueryJ());
  EXPECT_FALSE(source->VideoQueryA());
  EXPECT_FALSE(source->VideoQueryN());
  EXPECT_EQ(source->VideoCountA(), 0);
  EXPECT_TRUE(source->CanRenderAsync());
  EXPECT_EQ(source->GetAudioSourceKind(), 6);
  EXPECT_FALSE(source->IsColorManagedExternally());

  kilncore::utility::Guid id = kItem;
  EXPECT_FALSE(source->GetAlternateIdentifier(id));
  EXPECT_TRUE(id.IsNil());
  id = kItem;
  source->GetDefaultIdentifier(id);
  EXPECT_TRUE(id.IsNil());

  std::pair<int64_t, int64_t> extent{5, 5};
  source->GetVideoExtent(extent);
  EXPECT_EQ(extent, (std::pair<int64_t, int64_t>{0, 0}));
  int64_t offset = 9;
  source->GetVideoOffset(offset);
  EXPECT_EQ(offset, 0);
  std::vector<DR::IAudioSource::AudioMarker> markers(2);
  source->GetAudioMarkers(markers);
  EXPECT_TRUE(markers.empty());
}

TEST_F(TetherSourceModelTest, VideoFormatRecordHoldsSevenValuesThenAnEmptyText) {
  SourceRef source = MakeSource();
  KL::VideoFormatRecord record;
  record.text = u"x";
  EXPECT_EQ(source->GetVideoFormatRecord(record), 0);
  EXPECT_EQ(record.values, (std::array<int32_t, 7>{0, 0, 0, 108, 108, 0, 0}));
  EXPECT_TRUE(record.text.empty());
}

TEST_F(TetherSourceModelTest, AttachingAFrameIsNotOffered) {
  SourceRef source = MakeSource();
  EXPECT_EQ(source->AttachFrameA(TickTime(0), NativeFormat(), nullptr), kNotOffered);
  EXPECT_EQ(source->AttachFrameB(TickTime(0), NativeFormat(), nullptr), kNotOffered);
}

TEST_F(TetherSourceModelTest, SequenceTagMatchesOnlyTheLastTagSet) {
  SourceRef source = MakeSource();
  source->SetSequenceTag(41);
  EXPECT_TRUE(source->MatchesSequenceTag(41));
  EXPECT_FALSE(source->MatchesSequenceTag(42));
}

// --- The item's description.

TEST_F(TetherSourceModelTest, DescribesTheServersItem) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.pixelAspectRatio = tether::PixelAspectRatio{10, 11};
  setup.info.fieldType = 2;
  setup.nativeFieldType = 1;
  SourceRef source = MakeSource(setup);

  TickTime duration;
  source->GetDuration(duration);
  EXPECT_EQ(duration, TickTime::FromSeconds(10));
  kilnmediatypes::FrameRate rate;
  source->GetFrameRate(rate);
  EXPECT_EQ(rate, kilnmediatypes::kFrameRate_Film24);
  RL::RectT<int> size;
  source->GetFrameSize(size);
  EXPECT_EQ(size, (RL::RectT<int>{0, 0, 1920, 1080}));
  PixelAspectRatio ratio;
  source->GetPixelAspectRatio(ratio);
  EXPECT_EQ(ratio, PixelAspectRatio(10, 11));
  EXPECT_EQ(source->GetFieldType(), kilnmediatypes::kFieldType_LowerFirst);
  EXPECT_EQ(source->GetNativeFieldType(), kilnmediatypes::kFieldType_UpperFirst);
  std::vector<kilnmediatypes::PixelFormat> formats;
  source->GetNativePixelFormats(formats);
  EXPECT_EQ(formats, std::vector<kilnmediatypes::PixelFormat>{kilnmediatypes::PixelFormat(0x42475241u, 0)});
  EXPECT_EQ(source->GetName(), u"Item");
  EXPECT_EQ(source->GetAudioChannelCount(), 2u);
  EXPECT_EQ(source->GetAudioChannelType(), RL::kAudioChannelType_Stereo);
}

TEST_F(TetherSourceModelTest, DescribesTheItemsAudio) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.audioChannelLayout = {1, 0, 2, 0};  // L, discrete, R, discrete
  SourceRef source = MakeSource(setup);
  kilnmediatypes::FrameRate rate;
  source->GetSampleRate(rate);
  EXPECT_EQ(rate, kilnmediatypes::FrameRate(254016000000 / 48000));
  std::vector<kilnmediatypes::AudioChannelDescription> layout;
  source->GetAudioChannelLayout(layout);
  using kilnmediatypes::AudioChannelDescription;
  EXPECT_EQ(layout, (std::vector<AudioChannelDescription>{{kilnmediatypes::kAudioChannelLabel_Left, 0},
                                                          {kilnmediatypes::kAudioChannelLabel_Discrete, 0},
                                                          {kilnmediatypes::kAudioChannelLabel_Right, 0},
                                                          {kilnmediatypes::kAudioChannelLabel_Discrete, 1}}));
  EXPECT_EQ(source->GetAudioChannelCount(), 4u);
  EXPECT_EQ(source->GetAudioChannelType(), RL::CreateAudioChannelType(layout));
  EXPECT_EQ(source->GetAudioChannelType(), RL::kAudioChannelType_Multichannel);
  EXPECT_FALSE(source->SequentialQueryA());
  EXPECT_FALSE(source->SequentialQueryB());
}

TEST_F(TetherSourceModelTest, TimeStretchFlagsTellFrozenRegions) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  SourceRef plain = MakeSource(setup);
  setup.info.hasFrozenUnstretchableRegions = true;
  SourceRef frozen = MakeSource(setup, 0, kOtherItem);
  uint32_t flags = 99;
  plain->GetTimeStretchFlags(flags);
  EXPECT_EQ(flags, 0u);
  frozen->GetTimeStretchFlags(flags);
  EXPECT_EQ(flags, 4u);
}

TEST_F(TetherSourceModelTest, MatteColourIsAskedBlueFirstAndAnsweredRedGreenBlue) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.matteColorR = 1.0f;
  setup.info.matteColorG = 0.5f;  // 127.5 rounds up
  setup.info.matteColorB = 0.2f;
  SourceRef source = MakeSource(setup);
  const size_t before = backend->Calls(tether::testing::Operation::kSourceQuery).size();
  std::array<uint8_t, 3> rgb{};
  EXPECT_EQ(source->GetAlphaMatteColor(rgb), 0);
  EXPECT_EQ(rgb, (std::array<uint8_t, 3>{255, 128, 51}));
  const auto queries = backend->Calls(tether::testing::Operation::kSourceQuery);
  ASSERT_EQ(queries.size(), before + 3);
  EXPECT_EQ(queries[before].Args<tether::testing::SourceQueryArgs>().getter, "GetAlphaMatteColorB");
  EXPECT_EQ(queries[before + 1].Args<tether::testing::SourceQueryArgs>().getter, "GetAlphaMatteColorG");
  EXPECT_EQ(queries[before + 2].Args<tether::testing::SourceQueryArgs>().getter, "GetAlphaMatteColorR");
}

TEST(FormatRoundingTest, PositiveHalvesRoundUpAndNonPositiveHalvesTowardsZero) {
  EXPECT_EQ(RoundForFormat(2.5), 3);
  EXPECT_EQ(RoundForFormat(2.4999), 2);
  EXPECT_EQ(RoundForFormat(0.0), 0);
  EXPECT_EQ(RoundForFormat(-0.5), 0);
  EXPECT_EQ(RoundForFormat(-2.5), -2);
  EXPECT_EQ(RoundForFormat(-2.4), -2);
  EXPECT_EQ(RoundForFormat(-2.6), -3);
  EXPECT_EQ(RoundForFormat(127.5f), 128);
  EXPECT_EQ(RoundForFormat(-1.5f), -1);
}

// --- Choosing the frame format.

class SelectFrameFormatTest : public SourceTest {
 protected:
  RL::FrameFormat Select(RL::FrameFormat format, const ScriptedSourceSetup& setup = ScriptedSourceSetup::Typical(),
                         TickTime time = TickTime(0)) {
    SourceRef source = MakeSource(setup);
    EXPECT_EQ(source->SelectFrameFormat(time, format), 0);
    return format;
  }

  static ScriptedSourceSetup Interlaced(int32_t fieldType, uint32_t height = 1080) {
    ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
    setup.info.fieldType = fieldType;
    setup.info.height = height;
    return setup;
  }
};

TEST_F(SelectFrameFormatTest, ZeroSizeGivesTheNativeSizeAndRatio) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.pixelAspectRatio = tether::PixelAspectRatio{10, 11};
  RL::FrameFormat wanted;
  wanted.pixelAspectRatio = PixelAspectRatio(2, 1);
  const RL::FrameFormat result = Select(wanted, setup);
  EXPECT_EQ(result.width, 1920);
  EXPECT_EQ(result.height, 1080);
  EXPECT_EQ(result.pixelAspectRatio, PixelAspectRatio(10, 11));
  EXPECT_EQ(result.fieldType, kilnmediatypes::kFieldType_Progressive);
}

TEST_F(SelectFrameFormatTest, TwiceTheNativeSizeGivesTheNativeSize) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.width = 3840;
  wanted.height = 2160;
  const RL::FrameFormat result = Select(wanted);
  EXPECT_EQ(result.width, 1920);
  EXPECT_EQ(result.height, 1080);
}

TEST_F(SelectFrameFormatTest, HalfTheWidthOnlyScalesTheWholeFrameByOneHalf) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.width = 960;
  const RL::FrameFormat result = Select(wanted);
  EXPECT_EQ(result.width, 960);
  EXPECT_EQ(result.height, 540);
}

TEST_F(SelectFrameFormatTest, ProgressiveSourceAskedForUpperFieldAtHighQualityKeepsItsNativeSize) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.fieldType = kilnmediatypes::kFieldType_UpperFirst;
  wanted.renderQuality = 3;
  const RL::FrameFormat result = Select(wanted);
  EXPECT_EQ(result.fieldType, kilnmediatypes::kFieldType_Progressive);
  EXPECT_EQ(result.width, 1920);
  EXPECT_EQ(result.height, 1080);
}

TEST_F(SelectFrameFormatTest, ProgressiveSourceAskedForUpperFieldIsStillScaledDown) {
  // The interlace rule holds only when the result is interlaced.
  RL::FrameFormat wanted = NativeFormat();
  wanted.width = 960;
  wanted.height = 540;
  wanted.fieldType = kilnmediatypes::kFieldType_UpperFirst;
  wanted.renderQuality = 3;
  const RL::FrameFormat result = Select(wanted);
  EXPECT_EQ(result.width, 960);
  EXPECT_EQ(result.height, 540);
}

TEST_F(SelectFrameFormatTest, InterlacedSourceAskedForTheOtherFieldOrderAtHighQualityIsHeldAtNativeSize) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.width = 960;
  wanted.height = 540;
  wanted.fieldType = kilnmediatypes::kFieldType_LowerFirst;
  wanted.renderQuality = 3;
  const RL::FrameFormat result = Select(wanted, Interlaced(kilnmediatypes::kFieldType_UpperFirst));
  EXPECT_EQ(result.fieldType, kilnmediatypes::kFieldType_UpperFirst);
  EXPECT_EQ(result.width, 1920);
  EXPECT_EQ(result.height, 1080);
}

TEST_F(SelectFrameFormatTest, InterlacedSourceAskedForTheOtherFieldOrderBelowHighQualityIsScaled) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.width = 960;
  wanted.height = 540;
  wanted.fieldType = kilnmediatypes::kFieldType_LowerFirst;
  wanted.renderQuality = 2;
  const RL::FrameFormat result = Select(wanted, Interlaced(kilnmediatypes::kFieldType_UpperFirst, 1080));
  EXPECT_EQ(result.width, 960);
  EXPECT_EQ(result.height, 540);
}

TEST_F(SelectFrameFormatTest, FieldTypedRequestOfOddHeightComesBackOneLineTaller) {
  RL::FrameFormat wanted;
  const RL::FrameFormat result = Select(wanted, Interlaced(kilnmediatypes::kFieldType_LowerFirst, 481));
  EXPECT_EQ(result.fieldType, kilnmediatypes::kFieldType_LowerFirst);
  EXPECT_EQ(result.height, 482);
}

TEST_F(SelectFrameFormatTest, SourceOfAnyFieldTypeKeepsTheWantedOneAndAnyBecomesProgressive) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.fieldType = kilnmediatypes::kFieldType_UpperFirst;
  EXPECT_EQ(Select(wanted, Interlaced(kilnmediatypes::kFieldType_Any)).fieldType, kilnmediatypes::kFieldType_UpperFirst);
  wanted.fieldType = kilnmediatypes::kFieldType_Any;
  EXPECT_EQ(Select(wanted, Interlaced(kilnmediatypes::kFieldType_Any)).fieldType,
            kilnmediatypes::kFieldType_Progressive);
}

TEST_F(SelectFrameFormatTest, AWiderRatioGrowsTheWantedWidthInNativePixels) {
  // Native 10:11 at 720 x 480. Wanted 20:11 at 360 x 480 is 720 native pixels
  // wide: the native frame, unscaled.
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.width = 720;
  setup.info.height = 480;
  setup.info.pixelAspectRatio = tether::PixelAspectRatio{10, 11};
  RL::FrameFormat wanted = NativeFormat();
  wanted.width = 360;
  wanted.height = 480;
  wanted.pixelAspectRatio = PixelAspectRatio(20, 11);
  RL::FrameFormat result = Select(wanted, setup);
  EXPECT_EQ(result.width, 720);
  EXPECT_EQ(result.height, 480);
  EXPECT_EQ(result.pixelAspectRatio, PixelAspectRatio(10, 11));
  // A narrower ratio grows the height instead: 5:11 at 720 x 120 is 240 native
  // lines, so the frame is scaled by one half.
  wanted.width = 720;
  wanted.height = 120;
  wanted.pixelAspectRatio = PixelAspectRatio(5, 11);
  result = Select(wanted, setup);
  EXPECT_EQ(result.width, 360);
  EXPECT_EQ(result.height, 240);
}

TEST_F(SelectFrameFormatTest, ZeroesTheMemberAfterThePixelFormat) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.pixelFormatFlags = 0xDEADBEEF;
  EXPECT_EQ(Select(wanted).pixelFormatFlags, 0u);
}

TEST_F(SelectFrameFormatTest, PixelFormatIsTheNearestOfTheNativeFormats) {
  RL::FrameFormat wanted = NativeFormat();
  wanted.pixelFormat = kilnmediatypes::kPixelFormat_VUYA_4444_8u;
  EXPECT_EQ(Select(wanted).pixelFormat, kilnmediatypes::PixelFormat(0x42475241u, 0));
}

TEST_F(SelectFrameFormatTest, AcceleratedRangesOfferTheirFormatsWithinTheirTimes) {
  using kilnmediatypes::kPixelFormat_RGBA_4444_8u;
  using kilnmediatypes::kPixelFormat_VUYA_4444_8u;
  SourceRef source = MakeSource();
  std::map<TickTime, AcceleratedRange> ranges;
  ranges[TickTime(0)] = AcceleratedRange{TickTime(0), TickTime(100), {kPixelFormat_RGBA_4444_8u}};
  ranges[TickTime(200)] = AcceleratedRange{TickTime(200), TickTime(300), {kPixelFormat_VUYA_4444_8u}};
  source->ReplaceAcceleratedRanges(ranges);

  auto select = [&](int64_t ticks, kilnmediatypes::PixelFormat want) {
    RL::FrameFormat format = NativeFormat();
    format.pixelFormat = want;
    source->SelectFrameFormat(TickTime(ticks), format);
    return format.pixelFormat;
  };
  const kilnmediatypes::PixelFormat native(0x42475241u, 0);
  EXPECT_EQ(select(50, kPixelFormat_RGBA_4444_8u), kPixelFormat_RGBA_4444_8u);
  EXPECT_EQ(select(200, kPixelFormat_VUYA_4444_8u), kPixelFormat_VUYA_4444_8u);
  // Between the ranges: the native formats.
  EXPECT_EQ(select(150, kPixelFormat_RGBA_4444_8u), native);
  // No key at or above the time: the last range is the one tried.
  EXPECT_EQ(select(250, kPixelFormat_VUYA_4444_8u), kPixelFormat_VUYA_4444_8u);
  EXPECT_EQ(select(300, kPixelFormat_VUYA_4444_8u), native);
}

// --- Render options.

TEST_F(TetherSourceModelTest, PerClipSourcePassesItsClipNumberWhateverThePrefsHold) {
  SourceRef clip = MakeSource(ScriptedSourceSetup::Typical(), 7);
  const RL::BinaryData withOptions =
      BuildPrefsWithApplicationSpecificRenderOptions(kItem.AsString(), u"{\"applicationID\":\"Marl\"}");
  EXPECT_EQ(clip->BuildRenderOptionsJSON(withOptions), u"7");
  SourceRef item = MakeSource();
  EXPECT_EQ(item->BuildRenderOptionsJSON(withOptions), u"{\"applicationID\":\"Marl\"}");
  EXPECT_EQ(item->BuildRenderOptionsJSON(prefs), u"");
}

TEST_F(TetherSourceModelTest, VideoRenderOptionsCarryTheFormatTheSettingsAndTheColourSpace) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.colorSpace = tether::ColorSpace{"ACEScg"};
  SourceRef source = MakeSource(setup);
  source->SetUseProxies(true);
  RL::FrameFormat format = NativeFormat();
  format.width = 0;
  format.renderQuality = 2;
  format.fieldType = kilnmediatypes::kFieldType_UpperFirst;
  format.captionStreamFormat = 5;
  const tether::VideoRenderOptions options = source->BuildVideoRenderOptions(format, u"opts");
  EXPECT_EQ(options.GetRenderQuality(), 2);
  EXPECT_EQ(options.GetFieldType(), 1);
  ASSERT_EQ(options.GetPixelFormats().size(), 2u);
  EXPECT_EQ(options.GetPixelFormats()[0].fourcc, kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc);
  EXPECT_EQ(options.GetPixelFormats()[1].fourcc, kilnmediatypes::kPixelFormat_Any.fourcc);
  // A zero dimension means the native frame size, whole.
  EXPECT_EQ(options.GetBounds(), (tether::RenderBounds{1920, 1080}));
  EXPECT_FALSE(options.GetUsePreviewFiles());
  EXPECT_TRUE(options.GetUseProxies());
  EXPECT_EQ(options.GetAppSpecificRenderOptionsJSONString(), u"opts");
  EXPECT_EQ(options.GetCaptionStreamFormat(), 5u);
  EXPECT_EQ(options.GetColorSpace().definition, "ACEScg");
}

TEST_F(TetherSourceModelTest, ThirtyTwoChannelsCountAsNoAudioOutsideTheMixingHosts) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.audioChannelLayout.assign(32, 0);
  const auto item = ConnectItem(kItem, setup);
  const auto renderableIn = [&](int32_t applicationType, const tether::Source& source) {
    const Crate::ScopedApplicationType playing(applicationType);
    return TetherSource::HasRenderableAudio(source);
  };
  EXPECT_FALSE(renderableIn(0, *item));
  EXPECT_FALSE(renderableIn(1, *item));
  EXPECT_FALSE(renderableIn(5, *item));
  EXPECT_TRUE(renderableIn(2, *item));
  EXPECT_TRUE(renderableIn(8, *item));
  EXPECT_TRUE(renderableIn(11, *item));
  setup.info.hasAudio = false;
  EXPECT_FALSE(renderableIn(8, *ConnectItem(kOtherItem, setup)));
  EXPECT_TRUE(renderableIn(1, *ConnectItem(kItem, ScriptedSourceSetup::Typical())));
}

// --- Colour.

TEST_F(TetherSourceModelTest, CreateRegistersTheItemsColourSpace) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.colorSpace = tether::ColorSpace{"Display P3 for a test"};
  SourceRef source = MakeSource(setup);
  const kilnmediatypes::color::ColorSpace expected("Display P3 for a test");
  EXPECT_TRUE(kilnmediatypes::color::FindColorSpaceInCache(expected.ToGuid()).has_value());
  EXPECT_TRUE(source->HasColorSpace());
  kilnmediatypes::color::ColorSpace preferred;
  source->GetPreferredColorSpace(preferred);
  EXPECT_EQ(preferred, expected);
}

TEST_F(TetherSourceModelTest, WithoutAColourSpaceRec709IsPreferred) {
  SourceRef source = MakeSource();
  EXPECT_FALSE(source->HasColorSpace());
  std::vector<kilnmediatypes::color::ColorSpace> spaces;
  source->AppendColorSpaces(prefs, spaces);
  EXPECT_TRUE(spaces.empty());
  kilnmediatypes::color::ColorSpace preferred;
  source->GetPreferredColorSpace(preferred);
  EXPECT_EQ(preferred, RL::ColorSpaces::OR709);
}

// --- Still ranges and segments, as for an item outside a host project.

TEST_F(TetherSourceModelTest, StillRangeLookupsClipToTheAskedRange) {
  SourceRef source = MakeSource();
  using Range = TetherSource::TimeRange;
  TetherSource::TimeRange range;
  source->GetStillRangeAt(TickTime(15), range);
  EXPECT_EQ(range, Range(TickTime(15), TickTime(15)));

  source->ReplaceStillRanges({Range(TickTime(10), TickTime(20)), Range(TickTime(40), TickTime(50))});
  source->GetStillRangeAt(TickTime(15), range);
  EXPECT_EQ(range, Range(TickTime(10), TickTime(20)));
  source->GetStillRangeAt(TickTime(10), range);
  EXPECT_EQ(range, Range(TickTime(10), TickTime(20)));
  source->GetStillRangeAt(TickTime(25), range);
  EXPECT_EQ(range, Range(TickTime(25), TickTime(25)));
  source->GetStillRangeAt(TickTime(45), range);
  EXPECT_EQ(range, Range(TickTime(40), TickTime(50)));

  std::vector<Range> found;
  source->GetStillRangesInRange(TickTime(15), TickTime(30), found);
  EXPECT_EQ(found, std::vector<Range>{Range(TickTime(15), TickTime(20))});
  found.clear();
  source->GetStillRangesInRange(TickTime(0), TickTime(100), found);
  EXPECT_EQ(found, (std::vector<Range>{Range(TickTime(10), TickTime(20)), Range(TickTime(40), TickTime(50))}));
}

TEST_F(TetherSourceModelTest, SmartRenderSegmentsAreLeftAsTheyCame) {
  SourceRef source = MakeSource();
  std::map<TickTime, RL::SmartRenderSegment> segments;
  segments[TickTime(1)].ClipID = 3;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(10), kilnmediatypes::kPixelFormat_BGRA_4444_8u,
                                              true, false, 0, segments);
  ASSERT_EQ(segments.size(), 1u);
  EXPECT_EQ(segments[TickTime(1)].ClipID, 3);
  EXPECT_EQ(backend->CallCount(tether::testing::Operation::kSendRequest), 0u);
}

}  // namespace
}  // namespace TetherMedia::testing
