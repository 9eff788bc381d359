// An item's metadata from its server: the XMP packet, the captions and the
// description lines of the host's media properties.

#include "CreationTestSupport.h"

#include <KL/CaptionText.h>
#include <RL/ColorSpaceUtils.h>
#include <WF/ImportableFileTypeUtils.h>
#include <kilncore/utility/Seam.h>
#include <kilnmediatypes/RatioTime.h>
#include <kilnmediatypes/TimeDisplay.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScriptedBackend.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::testing::Behaviour;
using tether::testing::Operation;
using tether::testing::RenderXMPArgs;
using tether::testing::ScopedBackend;
using tether::testing::ScriptedSourceSetup;
using tether::testing::SetCaptionSelectionDataArgs;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

constexpr char kTwoStreams[] =
    "TETHER-CAPTIONS 1\nformat 7\nstream 11 English\ncue 0 100 Hello\nstream 12 Deutsch\ncue 0 100 Hallo\n";

tether::CaptionData TwoStreams(size_t selected) {
  tether::CaptionData data;
  data.serializedData = kTwoStreams;
  data.streams = {{11, selected == 0, "English"}, {12, selected == 1, "Deutsch"}};
  return data;
}

class MetadataTest : public ::testing::Test {
 protected:
  ItemRef Open(const std::string& name, const ScriptedSourceSetup& setup = ScriptedSourceSetup::Typical()) {
    mBackend->SetDefaultSource(setup);
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, mFiles.Make(name), prefs), 0);
    return item;
  }

  static std::vector<kilncore::WideString> Lines(TetherMediaInfo& item, kilnmediatypes::TimeDisplay display = {}) {
    std::vector<kilncore::WideString> lines;
    EXPECT_EQ(item.GetAnalysisLines(0, lines, 0, display, 0, 0), 0);
    return lines;
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

// --- ReadXMP

TEST_F(MetadataTest, ReadXMPGivesThePacketOfTheWholeItem) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.xmp = "<x:xmpmeta/>";
  ItemRef item = Open("Show.marlp", setup);
  RL::BinaryData out;
  EXPECT_EQ(item->ReadXMP(false, false, 0, out), 0);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.GetData()), out.GetSize()), "<x:xmpmeta/>");
  const auto calls = mBackend->Calls(Operation::kRenderXMP);
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Args<RenderXMPArgs>().start, tether::RatioTime(0));
  EXPECT_EQ(calls[0].Args<RenderXMPArgs>().duration, setup.info.duration);
}

TEST_F(MetadataTest, ReadXMPWithUnsetWorkAreaKeepsTheWholeItemAfterwards) {
  ItemRef item = Open("Show.marlp");
  RL::BinaryData out;
  item->ReadXMP(false, false, 0, out);
  EXPECT_EQ(TetherMediaInfoTestAccess::XMPWorkAreaIn(*item), kilnmediatypes::TickTime(0));
  EXPECT_EQ(TetherMediaInfoTestAccess::XMPWorkAreaOut(*item),
            kilnmediatypes::RatioTimeToTime(ScriptedSourceSetup::Typical().info.duration));
  item->ReadXMP(false, false, 0, out);
  const auto calls = mBackend->Calls(Operation::kRenderXMP);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[1].Args<RenderXMPArgs>().duration, ScriptedSourceSetup::Typical().info.duration);
}

TEST_F(MetadataTest, ReadXMPWithFailedStatusLeavesOutAndFails) {
  ItemRef item = Open("Show.marlp");
  mBackend->Script(Operation::kRenderXMP, Behaviour::Fail());
  const uint8_t kept[] = {1, 2, 3};
  RL::BinaryData out(kept, sizeof kept);
  EXPECT_EQ(item->ReadXMP(false, false, 0, out), TetherMediaInfo::kGeneralFailure);
  EXPECT_EQ(out.GetSize(), 3u);
}

TEST_F(MetadataTest, ReadXMPWithEmptyPacketIsNoFailure) {
  ItemRef item = Open("Show.marlp");
  const uint8_t old[] = {9};
  RL::BinaryData out(old, sizeof old);
  EXPECT_EQ(item->ReadXMP(false, false, 0, out), 0);
  EXPECT_EQ(out.GetSize(), 0u);
}

TEST_F(MetadataTest, ReadXMPWithoutSourceFails) {
  ItemRef item = TetherMediaInfoTestAccess::MakeItem();
  RL::BinaryData out;
  EXPECT_EQ(item->ReadXMP(false, false, 0, out), TetherMediaInfo::kGeneralFailure);
  EXPECT_EQ(mBackend->CallCount(Operation::kRenderXMP), 0u);
}

// --- Captions

TEST_F(MetadataTest, CaptionsOfAHostProjectItemGiveStreamsAndTheirFormat) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData = TwoStreams(1);
  ItemRef item = Open("Edit.tlmproj", setup);
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  EXPECT_EQ(item->GetCaptioningSource(captions), 0);
  ASSERT_TRUE(captions);
  EXPECT_EQ(captions->GetStreamCount(), 2u);
  EXPECT_EQ(captions->GetStream(1)->cues.at(0).text, "Hallo");
  EXPECT_EQ(item->GetSelectedCaptionStream(), 12u);
  EXPECT_TRUE(TetherMediaInfoTestAccess::LinkedSource(*item)->MatchesSequenceTag(7));
}

TEST_F(MetadataTest, CaptionsAreFetchedOnceInTheItemsLife) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData = TwoStreams(0);
  ItemRef item = Open("Edit.tlmproj", setup);
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> first;
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> second;
  item->GetCaptioningSource(first);
  item->GetCaptioningSource(second);
  EXPECT_EQ(first.Get(), second.Get());
  EXPECT_EQ(mBackend->CallCount(Operation::kGetCaptionData), 1u);
}

TEST_F(MetadataTest, SecondRequestAfterAnEmptyCaptionTextMakesNoRequest) {
  ItemRef item = Open("Edit.tlmproj");
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  EXPECT_EQ(item->GetCaptioningSource(captions), 0);
  EXPECT_FALSE(captions);
  EXPECT_EQ(item->GetCaptioningSource(captions), 0);
  EXPECT_FALSE(captions);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetCaptionData), 1u);
}

TEST_F(MetadataTest, SelectedCaptionStreamWithoutCaptionsIsMinusOne) {
  ItemRef item = Open("Edit.tlmproj");
  EXPECT_EQ(item->GetSelectedCaptionStream(), static_cast<uint64_t>(-1));
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  item->GetCaptioningSource(captions);
  EXPECT_EQ(item->GetSelectedCaptionStream(), static_cast<uint64_t>(-1));
}

TEST_F(MetadataTest, FailedCaptionRequestLeavesNoSourceAndIsNotRepeated) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData = TwoStreams(0);
  ItemRef item = Open("Edit.tlmproj", setup);
  mBackend->Script(Operation::kGetCaptionData, Behaviour::Fail());
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  item->GetCaptioningSource(captions);
  EXPECT_FALSE(captions);
  item->GetCaptioningSource(captions);
  EXPECT_FALSE(captions);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetCaptionData), 1u);
  EXPECT_EQ(item->GetSelectedCaptionStream(), static_cast<uint64_t>(-1));
}

TEST_F(MetadataTest, MalformedCaptionTextIsANullReferenceFailureWithoutCrash) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData.serializedData = "WEBVTT\n\n00:00.000 --> 00:01.000\nHi\n";
  ItemRef item = Open("Edit.tlmproj", setup);
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  EXPECT_LT(item->GetCaptioningSource(captions), 0);
  EXPECT_FALSE(captions);
  EXPECT_EQ(item->GetCaptioningSource(captions), 0);
  EXPECT_FALSE(captions);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetCaptionData), 1u);
}

TEST_F(MetadataTest, OtherProjectTypesHaveNoCaptionsAndIgnoreSelection) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData = TwoStreams(0);
  ItemRef item = Open("Show.marlp", setup);
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  EXPECT_EQ(item->GetCaptioningSource(captions), 0);
  EXPECT_FALSE(captions);
  item->SelectCaptionStream(1);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetCaptionData), 0u);
  EXPECT_EQ(mBackend->CallCount(Operation::kSetCaptionSelectionData), 0u);
}

TEST_F(MetadataTest, SelectCaptionStreamSendsTheLow32BitsOfTheIndex) {
  ItemRef item = Open("Edit.tlmproj");
  item->SelectCaptionStream(1);
  item->SelectCaptionStream(static_cast<uint64_t>(-1));
  const auto calls = mBackend->Calls(Operation::kSetCaptionSelectionData);
  ASSERT_EQ(calls.size(), 2u);
  const tether::CaptionSelectionData first = calls[0].Args<SetCaptionSelectionDataArgs>().selection;
  EXPECT_EQ(first.version, 1);
  EXPECT_EQ(first.streamIndex, 1);
  EXPECT_TRUE(first.streams.empty());
  EXPECT_EQ(static_cast<uint32_t>(calls[1].Args<SetCaptionSelectionDataArgs>().selection.streamIndex), 0xFFFFFFFFu);
}

TEST_F(MetadataTest, SelectionDoesNotChangeTheCaptionsAlreadyFetched) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData = TwoStreams(0);
  ItemRef item = Open("Edit.tlmproj", setup);
  kilncore::classref::InterfaceRef<KL::ICaptioningSource> captions;
  item->GetCaptioningSource(captions);
  mBackend->Script(Operation::kSetCaptionSelectionData, Behaviour::Fail());
  item->SelectCaptionStream(1);
  EXPECT_EQ(item->GetSelectedCaptionStream(), 11u);
}

// --- Description lines

TEST_F(MetadataTest, DescriptionOfAVideoAndAudioItem) {
  ItemRef item = Open("Show.marlp");
  const auto lines = Lines(*item, kilnmediatypes::TimeDisplay(kilnmediatypes::kTimeDisplayType_24Timecode));
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], item->GetMediaDisplayName());
  EXPECT_EQ(lines[1], u"1920 x 1080");
  EXPECT_EQ(lines[2], u"00:00:10:00, 24.00 fps");
  EXPECT_EQ(lines[3], u"Color Space: Rec. 709");
  EXPECT_EQ(lines[4], u"48000 Hz - 32 bit float - Stereo");
}

TEST_F(MetadataTest, FilmRateIsPrintedWithThreeDecimals) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.frameRate = 10594584000;
  setup.info.duration = tether::RatioTime(1001, 1000);  // 24 frames
  ItemRef item = Open("Show.marlp", setup);
  const auto lines = Lines(*item, kilnmediatypes::TimeDisplay(kilnmediatypes::kTimeDisplayType_23976Timecode));
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[2], u"00:00:01:00, 23.976 fps");
}

TEST_F(MetadataTest, NtscRateIsPrintedWithTwoDecimalsAndDropFrame) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.frameRate = 8475667200;
  setup.info.duration = tether::RatioTime(1800 * 1001, 30000);
  ItemRef item = Open("Show.marlp", setup);
  const auto lines = Lines(*item, kilnmediatypes::TimeDisplay(kilnmediatypes::kTimeDisplayType_2997DropTimecode));
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[2], u"00:01:00;02, 29.97 fps");
}

TEST_F(MetadataTest, ItemWithAudioButNoChannelsGetsNoAudioLine) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.hasAudio = true;
  setup.info.audioChannelLayout.clear();
  ItemRef item = Open("Show.marlp", setup);
  const auto lines = Lines(*item);
  EXPECT_EQ(lines.size(), 4u);
}

TEST_F(MetadataTest, AudioOnlyItemHasNameAndAudioLines) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.hasVideo = false;
  ItemRef item = Open("Show.marlp", setup);
  const auto lines = Lines(*item);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], u"48000 Hz - 32 bit float - Stereo");
}

TEST_F(MetadataTest, NoDescriptionWithoutAdvancedColorWorkflowOrSource) {
  ItemRef item = Open("Show.marlp");
  {
    kilncore::utility::ScopedSeam off(RL::ColorSpaceUtils::CanSupportAdvancedColorWorkflowSeam(),
                                      [] { return false; });
    EXPECT_TRUE(Lines(*item).empty());
  }
  ItemRef unconnected = TetherMediaInfoTestAccess::MakeItem();
  EXPECT_TRUE(Lines(*unconnected).empty());
}

TEST_F(MetadataTest, AnalysisAnswersOfALinkedItem) {
  ItemRef item = Open("Show.marlp");
  EXPECT_FALSE(item->AnalysisQueryA());
  EXPECT_EQ(item->AnalysisFlags(), 0x80000000u);
  item->AnalysisNoOp();
}

}  // namespace
}  // namespace TetherMedia
