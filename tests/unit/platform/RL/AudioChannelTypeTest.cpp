#include <RL/AudioChannelType.h>

#include <gtest/gtest.h>

namespace {

using namespace kilnmediatypes;
using RL::CreateAudioChannelType;

std::vector<AudioChannelDescription> Layout(std::initializer_list<AudioChannelLabel> labels) {
  std::vector<AudioChannelDescription> layout;
  for (AudioChannelLabel label : labels) layout.push_back({label, 0});
  return layout;
}

TEST(AudioChannelTypeTest, NoChannelsIsNone) { EXPECT_EQ(CreateAudioChannelType({}), RL::kAudioChannelType_None); }

TEST(AudioChannelTypeTest, OneChannelIsMonoWhateverItsLabel) {
  EXPECT_EQ(CreateAudioChannelType(Layout({kAudioChannelLabel_Mono})), RL::kAudioChannelType_Mono);
  EXPECT_EQ(CreateAudioChannelType(Layout({kAudioChannelLabel_Discrete})), RL::kAudioChannelType_Mono);
}

TEST(AudioChannelTypeTest, LeftThenRightIsStereo) {
  EXPECT_EQ(CreateAudioChannelType(Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right})),
            RL::kAudioChannelType_Stereo);
  EXPECT_EQ(CreateAudioChannelType(Layout({kAudioChannelLabel_Right, kAudioChannelLabel_Left})),
            RL::kAudioChannelType_Multichannel);
}

TEST(AudioChannelTypeTest, StandardSixChannelOrderIsFiveOne) {
  const auto layout = Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                              kAudioChannelLabel_LowFrequency, kAudioChannelLabel_LeftSurround,
                              kAudioChannelLabel_RightSurround});
  EXPECT_EQ(CreateAudioChannelType(layout), RL::kAudioChannelType_51);
}

TEST(AudioChannelTypeTest, DiscreteChannelsAreMultichannel) {
  std::vector<AudioChannelDescription> layout;
  for (uint32_t i = 0; i < 32; ++i) layout.push_back({kAudioChannelLabel_Discrete, i});
  EXPECT_EQ(CreateAudioChannelType(layout), RL::kAudioChannelType_Multichannel);
}

}  // namespace
