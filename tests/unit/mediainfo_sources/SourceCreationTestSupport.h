#pragma once

// The item and stream doubles of the mediainfo suite, extended with what the
// audio road needs: a stream object that is also an audio source, and an item
// whose name and identity a test can choose.
#include "../mediainfo/MediaInfoTestSupport.h"

#include <DR/IAudioSource.h>
#include <RL/BinaryData.h>
#include <RL/ISource.h>
#include <WF/AudioSourceImpl.h>
#include <WF/AudioSourcePool.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <atomic>
#include <memory>
#include <string_view>
#include <vector>

namespace TetherMedia::testing {

// The stream object as a linked item has it: video, RL::ISource and audio in
// one object. Fields are set before the object is shared.
class FakeAudioVideoSource : public FakeVideoSource, public DR::IAudioSource {
 public:
  kilnmediatypes::TickTime duration{254016000000LL * 10};
  std::vector<kilnmediatypes::AudioChannelDescription> layout;
  // What GetSampleRate answers; a negative code makes the source unplayable.
  int32_t sampleRateCode = 0;
  // False: the object refuses to be seen as RL::ISource.
  bool answersAsStream = true;
  std::atomic<int> layoutCalls{0};

  int32_t GetDuration(kilnmediatypes::TickTime& out) override {
    out = duration;
    return 0;
  }

  int32_t GetSampleRate(kilnmediatypes::FrameRate& out) override {
    out = kilnmediatypes::FrameRate(5292000);  // 48 kHz
    return sampleRateCode;
  }
  RL::AudioChannelType GetAudioChannelType() override { return {}; }
  uint32_t GetAudioChannelCount() override { return static_cast<uint32_t>(layout.size()); }
  int32_t GetAudioChannelLayout(std::vector<kilnmediatypes::AudioChannelDescription>& out) override {
    ++layoutCalls;
    out = layout;
    return 0;
  }
  int32_t GetAudioSourceKind() override { return 0; }
  int32_t ReadAudio(int32_t, kilnaudiotoolkit::AudioBuffer&, kilnmediatypes::TickTime) override { return 0; }
  int32_t GetAudioMarkers(std::vector<AudioMarker>&) override { return 0; }

 protected:
  void* QueryMap(const std::string_view& name) override {
    if (!answersAsStream && name == kilncore::classref::InterfaceNameOf<RL::ISource>()) return nullptr;
    if (void* answer = kilncore::classref::AnswerQuery<DR::IAudioSource>(this, name)) return answer;
    return FakeVideoSource::QueryMap(name);
  }
};

// An item whose source creation is the real one, with a name of the test's
// choosing.
class SourceCreationItem : public TestMediaInfo {
 public:
  kilncore::WideString sourceName = u"Comp 1";

  int32_t CreateSourceForStream(kilncore::utility::Guid mediaType, size_t streamIndex,
                                const RL::BinaryData& prefs, const kilnmediatypes::FrameRate& frameRate,
                                const kilncore::WideString& conformRequest,
                                const kilncore::WideString& reservedPath,
                                const kilncore::WideString& conformPathA,
                                const kilncore::WideString& conformPathB,
                                kilncore::classref::InterfaceRef<RL::ISource>& outSource) const override {
    return BaseMediaInfo::CreateSourceForStream(mediaType, streamIndex, prefs, frameRate, conformRequest,
                                                reservedPath, conformPathA, conformPathB, outSource);
  }
  int32_t OpenPreferences(RL::BinaryData& prefs, std::map<kilncore::WideString, kilncore::WideString>& settings,
                          size_t reservedA, kilncore::classref::InterfaceRef<KL::ISequence> sequence,
                          const kilnmediatypes::TickTime& reservedTime, size_t reservedB,
                          kilncore::WideString& outReserved) override {
    return BaseMediaInfo::OpenPreferences(prefs, settings, reservedA, sequence, reservedTime, reservedB,
                                          outReserved);
  }
  kilncore::WideString GetSourceName() const override { return sourceName; }
};

// The description that the importer layer was given for `source`, which must
// be one of its audio sources.
inline const WF::AudioSourceDescription& DescriptionOf(
    const kilncore::classref::InterfaceRef<RL::ISource>& source) {
  return kilncore::classref::InterfaceRef<WF::AudioSourceImpl>(source)->GetDescription();
}

// Whether `source` answers for the interface or class named `name`.
inline bool Answers(const kilncore::classref::InterfaceRef<RL::ISource>& source, std::string_view name) {
  return source && source.GetOwner()->QueryInterface(name) != nullptr;
}

}  // namespace TetherMedia::testing
