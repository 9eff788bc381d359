#include <WF/ConformedAudioSourceFile.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <memory>
#include <utility>

namespace WF {

namespace {

kilncore::classref::InterfaceRef<DR::IAudioSource> CreateReal(
    kilncore::classref::InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
    const kilnmediatypes::FrameRate& frameRate, const kilncore::WideString& name,
    const kilncore::utility::Guid& contentState, const kilncore::utility::Guid& documentID,
    const kilncore::WideString& path, size_t streamIndex, const kilncore::WideString& conformPathA,
    const kilncore::WideString& conformPathB, const kilncore::utility::ImmutableString& stationID) {
  if (source.IsNull()) return nullptr;
  AudioSourceDescription description{prefs,        frameRate,    name,         contentState,
                                     documentID,   path,         streamIndex,  conformPathA,
                                     conformPathB, stationID};
  return std::make_shared<ConformedAudioSourceFile>(std::move(source), std::move(description));
}

}  // namespace

ConformedAudioSourceFile::ConformedAudioSourceFile(kilncore::classref::InterfaceRef<DR::IAudioSource> source,
                                                   AudioSourceDescription description)
    : AudioSourceImpl(std::move(source), std::move(description)) {}

ConformedAudioSourceFile::~ConformedAudioSourceFile() = default;

void* ConformedAudioSourceFile::QueryMap(const std::string_view& name) {
  if (void* answer = kilncore::classref::AnswerQuery<ConformedAudioSourceFile>(this, name)) return answer;
  return AudioSourceImpl::QueryMap(name);
}

kilncore::utility::Seam<ConformedAudioSourceFile::CreateSignature>& ConformedAudioSourceFile::CreateSeam() {
  static auto* const seam = new kilncore::utility::Seam<CreateSignature>(&CreateReal);
  return *seam;
}

kilncore::classref::InterfaceRef<DR::IAudioSource> ConformedAudioSourceFile::Create(
    kilncore::classref::InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
    const kilnmediatypes::FrameRate& frameRate, const kilncore::WideString& name,
    const kilncore::utility::Guid& contentState, const kilncore::utility::Guid& documentID,
    const kilncore::WideString& path, size_t streamIndex, const kilncore::WideString& conformPathA,
    const kilncore::WideString& conformPathB, const kilncore::utility::ImmutableString& stationID) {
  return CreateSeam()(std::move(source), prefs, frameRate, name, contentState, documentID, path, streamIndex,
                      conformPathA, conformPathB, stationID);
}

}  // namespace WF
