#pragma once

#include <DR/IAudioSource.h>
#include <RL/ISource.h>
#include <WF/AudioSourceDescription.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilnmediatypes/AudioChannelDescription.h>

#include <string_view>
#include <vector>

namespace WF {

// The importer layer's audio source around another audio source: what the
// host's audio engine reads from when it plays a media item's audio.
//
// Every audio operation is answered by the wrapped DR::IAudioSource, so
// reading through the wrapper gives exactly the wrapped source's samples. As
// an RL::ISource it reports the wrapped source's duration (when that source
// is also an RL::ISource) and passes cancellation on.
//
// The wrapper also remembers what it was made for (AudioSourceDescription)
// and the wrapped source's channel layout at the time of wrapping; these are
// what AudioSourcePool matches a later request against.
//
// Objects answer queries for "WF::AudioSourceImpl", "RL::ISource" and
// "DR::IAudioSource". Make them with std::make_shared (or the Create
// functions of the derived kinds). Thread-safe as far as the wrapped source
// is: the wrapper's own state never changes after construction.
class AudioSourceImpl : public RL::ISource, public DR::IAudioSource {
 public:
  // `source` must not be null.
  AudioSourceImpl(kilncore::classref::InterfaceRef<DR::IAudioSource> source, AudioSourceDescription description);
  ~AudioSourceImpl() override;

  const AudioSourceDescription& GetDescription() const noexcept { return mDescription; }
  // The wrapped source's channel layout when the wrapper was made.
  const std::vector<kilnmediatypes::AudioChannelDescription>& GetChannelLayoutAtCreation() const noexcept {
    return mLayoutAtCreation;
  }
  const kilncore::classref::InterfaceRef<DR::IAudioSource>& GetWrappedSource() const noexcept { return mSource; }

  // RL::ISource.
  int32_t GetDuration(kilnmediatypes::TickTime& outDuration) override;
  int32_t GetTimeStretchFlags(uint32_t& outFlags) override;
  int32_t CancelPendingRequests() override;
  int32_t GetSourceRef(kilncore::classref::InterfaceRef<RL::ISource>& outSource) override;

  // DR::IAudioSource, all answered by the wrapped source.
  int32_t GetSampleRate(kilnmediatypes::FrameRate& out) override;
  RL::AudioChannelType GetAudioChannelType() override;
  uint32_t GetAudioChannelCount() override;
  int32_t GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) override;
  int32_t GetAudioSourceKind() override;
  int32_t ReadAudio(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer,
                    kilnmediatypes::TickTime position) override;
  int32_t GetAudioMarkers(std::vector<AudioMarker>& out) override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const kilncore::classref::InterfaceRef<DR::IAudioSource> mSource;
  const kilncore::classref::InterfaceRef<RL::ISource> mSourceAsStream;  // may be null
  const AudioSourceDescription mDescription;
  std::vector<kilnmediatypes::AudioChannelDescription> mLayoutAtCreation;
};

}  // namespace WF
