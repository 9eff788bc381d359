#include <RL/AudioUtils.h>

namespace RL::AudioUtils {

kilncore::WideString CreateAudioSampleTypeString(int32_t type) {
  switch (type) {
    case kAudioSampleType_8BitInteger: return u"8 bit";
    case kAudioSampleType_16BitInteger: return u"16 bit";
    case kAudioSampleType_24BitInteger: return u"24 bit";
    case kAudioSampleType_32BitInteger: return u"32 bit";
    case kAudioSampleType_64BitFloat: return u"64 bit float";
    case kAudioSampleType_32BitFloat: return u"32 bit float";
    default: return u"Unknown";
  }
}

kilncore::WideString CreateAudioChannelTypeString(AudioChannelType type, int32_t /*reservedA*/,
                                                  int32_t /*reservedB*/) {
  switch (type) {
    case kAudioChannelType_Mono: return u"Mono";
    case kAudioChannelType_Stereo: return u"Stereo";
    case kAudioChannelType_51: return u"5.1";
    case kAudioChannelType_Multichannel: return u"Multichannel";
    default: return u"None";
  }
}

}  // namespace RL::AudioUtils
