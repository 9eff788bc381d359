#include <RL/AudioChannelType.h>

#include <algorithm>
#include <array>

namespace RL {

namespace {

using kilnmediatypes::AudioChannelLabel;

template <size_t N>
bool HasLabels(const std::vector<kilnmediatypes::AudioChannelDescription>& layout,
               const std::array<AudioChannelLabel, N>& labels) noexcept {
  return layout.size() == N &&
         std::equal(labels.begin(), labels.end(), layout.begin(),
                    [](AudioChannelLabel label, const auto& channel) { return channel.label == label; });
}

}  // namespace

AudioChannelType CreateAudioChannelType(
    const std::vector<kilnmediatypes::AudioChannelDescription>& layout) noexcept {
  using namespace kilnmediatypes;
  if (layout.empty()) return kAudioChannelType_None;
  if (layout.size() == 1) return kAudioChannelType_Mono;
  if (HasLabels(layout, std::array{kAudioChannelLabel_Left, kAudioChannelLabel_Right})) {
    return kAudioChannelType_Stereo;
  }
  if (HasLabels(layout, std::array{kAudioChannelLabel_Left, kAudioChannelLabel_Right,
                                   kAudioChannelLabel_Center, kAudioChannelLabel_LowFrequency,
                                   kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround})) {
    return kAudioChannelType_51;
  }
  return kAudioChannelType_Multichannel;
}

}  // namespace RL
