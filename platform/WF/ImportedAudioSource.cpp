#include <WF/ImportedAudioSource.h>

#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/config/KilnException.h>

#include <memory>
#include <utility>

namespace WF {

namespace {

int32_t CreateReal(
    kilncore::classref::InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
    const kilnmediatypes::FrameRate& frameRate, kilncore::classref::InterfaceRef<DR::IAudioSource>& result,
    const kilncore::WideString& name, const kilncore::utility::Guid& contentState,
    const kilncore::utility::Guid& documentID, const kilncore::WideString& path, size_t streamIndex,
    const kilncore::WideString& conformPathA, const kilncore::WideString& conformPathB,
    const kilncore::utility::ImmutableString& stationID, bool deferOpen, bool readOnly) {
  if (source.IsNull()) return kilncore::config::kGeneralFailure;
  // The audio engine schedules reads by sample rate; a source that fails to
  // tell it can't be played, and the import is better refused now than
  // failing at every read later.
  kilnmediatypes::FrameRate sampleRate;
  if (const int32_t code = source->GetSampleRate(sampleRate); code < 0) return code;

  AudioSourceDescription description{prefs,        frameRate,    name,         contentState,
                                     documentID,   path,         streamIndex,  conformPathA,
                                     conformPathB, stationID};
  result = std::make_shared<ImportedAudioSource>(std::move(source), std::move(description), deferOpen, readOnly);
  return 0;
}

}  // namespace

ImportedAudioSource::ImportedAudioSource(kilncore::classref::InterfaceRef<DR::IAudioSource> source,
                                         AudioSourceDescription description, bool deferOpen, bool readOnly)
    : AudioSourceImpl(std::move(source), std::move(description)), mDeferOpen(deferOpen), mReadOnly(readOnly) {}

ImportedAudioSource::~ImportedAudioSource() = default;

void* ImportedAudioSource::QueryMap(const std::string_view& name) {
  if (void* answer = kilncore::classref::AnswerQuery<ImportedAudioSource>(this, name)) return answer;
  return AudioSourceImpl::QueryMap(name);
}

kilncore::utility::Seam<ImportedAudioSource::CreateSignature>& ImportedAudioSource::CreateSeam() {
  static auto* const seam = new kilncore::utility::Seam<CreateSignature>(&CreateReal);
  return *seam;
}

int32_t ImportedAudioSource::Create(
    kilncore::classref::InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
    const kilnmediatypes::FrameRate& frameRate, kilncore::classref::InterfaceRef<DR::IAudioSource>& result,
    const kilncore::WideString& name, const kilncore::utility::Guid& contentState,
    const kilncore::utility::Guid& documentID, const kilncore::WideString& path, size_t streamIndex,
    const kilncore::WideString& conformPathA, const kilncore::WideString& conformPathB,
    const kilncore::utility::ImmutableString& stationID, bool deferOpen, bool readOnly) {
  return CreateSeam()(std::move(source), prefs, frameRate, result, name, contentState, documentID, path,
                      streamIndex, conformPathA, conformPathB, stationID, deferOpen, readOnly);
}

}  // namespace WF
