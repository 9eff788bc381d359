#pragma once

#include <WF/AudioSourceImpl.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Seam.h>

namespace WF {

// The audio of a media item as the host plays it when it conforms audio:
// the samples are taken from the item's own audio source at the item's
// sample rate, and the two conform paths say where a host that keeps conformed
// audio on disk may put it. The reference host keeps no such files: it reads
// every block through the wrapped source, so what is heard is always the
// item's current audio.
//
// Answers queries for "WF::ConformedAudioSourceFile" besides those of
// AudioSourceImpl.
class ConformedAudioSourceFile : public AudioSourceImpl {
 public:
  // A new conformed source around `source`, or null if `source` is null (the
  // caller then has no audio to offer). `streamIndex` is the stream of the
  // item; the other arguments are recorded in the description.
  static kilncore::classref::InterfaceRef<DR::IAudioSource> Create(
      kilncore::classref::InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
      const kilnmediatypes::FrameRate& frameRate, const kilncore::WideString& name,
      const kilncore::utility::Guid& contentState, const kilncore::utility::Guid& documentID,
      const kilncore::WideString& path, size_t streamIndex, const kilncore::WideString& conformPathA,
      const kilncore::WideString& conformPathB, const kilncore::utility::ImmutableString& stationID);
  using CreateSignature = kilncore::classref::InterfaceRef<DR::IAudioSource>(
      kilncore::classref::InterfaceRef<DR::IAudioSource>, const RL::BinaryData&, const kilnmediatypes::FrameRate&,
      const kilncore::WideString&, const kilncore::utility::Guid&, const kilncore::utility::Guid&,
      const kilncore::WideString&, size_t, const kilncore::WideString&, const kilncore::WideString&,
      const kilncore::utility::ImmutableString&);
  // Host policy seam of Create (see kilncore/utility/Seam.h).
  static kilncore::utility::Seam<CreateSignature>& CreateSeam();

  ConformedAudioSourceFile(kilncore::classref::InterfaceRef<DR::IAudioSource> source,
                           AudioSourceDescription description);
  ~ConformedAudioSourceFile() override;

 protected:
  void* QueryMap(const std::string_view& name) override;
};

}  // namespace WF
