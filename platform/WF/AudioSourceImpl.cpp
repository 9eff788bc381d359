#include <WF/AudioSourceImpl.h>

#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/config/KilnException.h>

#include <utility>

namespace WF {

AudioSourceImpl::AudioSourceImpl(kilncore::classref::InterfaceRef<DR::IAudioSource> source,
                                 AudioSourceDescription description)
    : mSource(std::move(source)),
      mSourceAsStream(kilncore::classref::QueryInterfaceRef<RL::ISource>(mSource)),
      mDescription(std::move(description)) {
  if (mSource.IsNull()) kilncore::config::DoThrowNullPtrException("DR::IAudioSource");
  if (mSource->GetAudioChannelLayout(mLayoutAtCreation) < 0) mLayoutAtCreation.clear();
}

AudioSourceImpl::~AudioSourceImpl() = default;

int32_t AudioSourceImpl::GetDuration(kilnmediatypes::TickTime& outDuration) {
  if (mSourceAsStream.IsNull()) return kilncore::config::kGeneralFailure;
  return mSourceAsStream->GetDuration(outDuration);
}

int32_t AudioSourceImpl::GetTimeStretchFlags(uint32_t& outFlags) {
  if (mSourceAsStream.IsNull()) {
    outFlags = 0;
    return 0;
  }
  return mSourceAsStream->GetTimeStretchFlags(outFlags);
}

int32_t AudioSourceImpl::CancelPendingRequests() {
  return mSourceAsStream.IsNull() ? 0 : mSourceAsStream->CancelPendingRequests();
}

int32_t AudioSourceImpl::GetSourceRef(kilncore::classref::InterfaceRef<RL::ISource>& outSource) {
  outSource = kilncore::classref::InterfaceRef<RL::ISource>::FromThis(this);
  return 0;
}

int32_t AudioSourceImpl::GetSampleRate(kilnmediatypes::FrameRate& out) { return mSource->GetSampleRate(out); }

RL::AudioChannelType AudioSourceImpl::GetAudioChannelType() { return mSource->GetAudioChannelType(); }

uint32_t AudioSourceImpl::GetAudioChannelCount() { return mSource->GetAudioChannelCount(); }

int32_t AudioSourceImpl::GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) {
  return mSource->GetAudioChannelLayout(out);
}

int32_t AudioSourceImpl::GetAudioSourceKind() { return mSource->GetAudioSourceKind(); }

int32_t AudioSourceImpl::ReadAudio(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer,
                                   kilnmediatypes::TickTime position) {
  return mSource->ReadAudio(context, buffer, position);
}

int32_t AudioSourceImpl::GetAudioMarkers(std::vector<AudioMarker>& out) { return mSource->GetAudioMarkers(out); }

void* AudioSourceImpl::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<AudioSourceImpl, RL::ISource, DR::IAudioSource>(this, name);
}

}  // namespace WF
