#pragma once

#include <WF/AudioSourceImpl.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Seam.h>

namespace WF {

// The audio of a media item as a host that doesn't conform audio plays it:
// read directly from the item's audio source, block by block, as the audio
// engine asks.
//
// Answers queries for "WF::ImportedAudioSource" besides those of
// AudioSourceImpl.
class ImportedAudioSource : public AudioSourceImpl {
 public:
  // Makes a new imported source around `source` into `result` and returns 0.
  // Fails with `result` untouched: kilncore::config::kGeneralFailure when
  // `source` is null, and the source's own code when it can't tell its sample
  // rate (such a source can't be played).
  // `streamIndex` is the stream of the item; the other descriptive arguments
  // are recorded in the description. `deferOpen` and `readOnly` are the
  // importer layer's own options; the reference host records them only.
  static int32_t Create(kilncore::classref::InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
                        const kilnmediatypes::FrameRate& frameRate,
                        kilncore::classref::InterfaceRef<DR::IAudioSource>& result,
                        const kilncore::WideString& name, const kilncore::utility::Guid& contentState,
                        const kilncore::utility::Guid& documentID, const kilncore::WideString& path,
                        size_t streamIndex, const kilncore::WideString& conformPathA,
                        const kilncore::WideString& conformPathB,
                        const kilncore::utility::ImmutableString& stationID, bool deferOpen, bool readOnly);
  using CreateSignature =
      int32_t(kilncore::classref::InterfaceRef<DR::IAudioSource>, const RL::BinaryData&,
              const kilnmediatypes::FrameRate&, kilncore::classref::InterfaceRef<DR::IAudioSource>&,
              const kilncore::WideString&, const kilncore::utility::Guid&, const kilncore::utility::Guid&,
              const kilncore::WideString&, size_t, const kilncore::WideString&, const kilncore::WideString&,
              const kilncore::utility::ImmutableString&, bool, bool);
  // Host policy seam of Create (see kilncore/utility/Seam.h).
  static kilncore::utility::Seam<CreateSignature>& CreateSeam();

  ImportedAudioSource(kilncore::classref::InterfaceRef<DR::IAudioSource> source,
                      AudioSourceDescription description, bool deferOpen, bool readOnly);
  ~ImportedAudioSource() override;

  bool IsOpenDeferred() const noexcept { return mDeferOpen; }
  bool IsReadOnly() const noexcept { return mReadOnly; }

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const bool mDeferOpen;
  const bool mReadOnly;
};

}  // namespace WF
