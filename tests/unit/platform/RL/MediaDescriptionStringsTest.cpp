#include <RL/AudioUtils.h>
#include <RL/ColorSpaceUtils.h>

#include <kilncore/utility/Seam.h>

#include <gtest/gtest.h>

namespace {

TEST(MediaDescriptionStringsTest, ColorSpaceIsNamedByItsName) {
  EXPECT_EQ(RL::ColorSpaceUtils::KilnColorSpaceToString(kilnmediatypes::color::ColorSpace("ACEScg"), 0), "ACEScg");
}

TEST(MediaDescriptionStringsTest, ColorSpaceThatStatesNothingIsTheWorkingDefault) {
  EXPECT_EQ(RL::ColorSpaceUtils::KilnColorSpaceToString(kilnmediatypes::color::ColorSpace(), 0), "Rec. 709");
}

TEST(MediaDescriptionStringsTest, ColorSpaceWithOnlyADefinitionIsCustom) {
  EXPECT_EQ(RL::ColorSpaceUtils::KilnColorSpaceToString(kilnmediatypes::color::ColorSpace("", {1, 2}), 0), "Custom");
}

TEST(MediaDescriptionStringsTest, AdvancedColorWorkflowIsOnUnlessTheHostSaysOtherwise) {
  EXPECT_TRUE(RL::ColorSpaceUtils::CanSupportAdvancedColorWorkflow());
  kilncore::utility::ScopedSeam off(RL::ColorSpaceUtils::CanSupportAdvancedColorWorkflowSeam(), [] { return false; });
  EXPECT_FALSE(RL::ColorSpaceUtils::CanSupportAdvancedColorWorkflow());
}

TEST(MediaDescriptionStringsTest, SampleTypesHaveNames) {
  EXPECT_EQ(RL::AudioUtils::CreateAudioSampleTypeString(RL::AudioUtils::kAudioSampleType_32BitFloat), u"32 bit float");
  EXPECT_EQ(RL::AudioUtils::CreateAudioSampleTypeString(RL::AudioUtils::kAudioSampleType_16BitInteger), u"16 bit");
  EXPECT_EQ(RL::AudioUtils::CreateAudioSampleTypeString(42), u"Unknown");
}

TEST(MediaDescriptionStringsTest, ChannelTypesHaveNames) {
  EXPECT_EQ(RL::AudioUtils::CreateAudioChannelTypeString(RL::kAudioChannelType_Mono, 0, 0), u"Mono");
  EXPECT_EQ(RL::AudioUtils::CreateAudioChannelTypeString(RL::kAudioChannelType_Stereo, 0, 0), u"Stereo");
  EXPECT_EQ(RL::AudioUtils::CreateAudioChannelTypeString(RL::kAudioChannelType_51, 0, 0), u"5.1");
  EXPECT_EQ(RL::AudioUtils::CreateAudioChannelTypeString(RL::kAudioChannelType_Multichannel, 0, 0), u"Multichannel");
  EXPECT_EQ(RL::AudioUtils::CreateAudioChannelTypeString(RL::kAudioChannelType_None, 0, 0), u"None");
}

}  // namespace
