#include <KL/HostMasterClip.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <utility>

namespace KL {

HostMasterClip::HostMasterClip(kilncore::WideString name, kilncore::WideString mediaPath)
    : mName(std::move(name)), mMediaPath(std::move(mediaPath)), mIsSequence(false) {}

HostMasterClip::HostMasterClip(kilncore::WideString name, const kilncore::utility::Guid& sequenceID)
    : mName(std::move(name)), mSequenceID(sequenceID), mIsSequence(true) {}

HostMasterClip::~HostMasterClip() = default;

kilncore::WideString HostMasterClip::GetName() const { return mName; }

kilncore::WideString HostMasterClip::GetMediaPath() const { return mMediaPath; }

kilncore::utility::Guid HostMasterClip::GetSequenceID() const { return mSequenceID; }

void* HostMasterClip::QueryMap(const std::string_view& name) {
  if (mIsSequence) return kilncore::classref::AnswerQuery<HostMasterClip, IMasterClip, ISequence>(this, name);
  return kilncore::classref::AnswerQuery<HostMasterClip, IMasterClip>(this, name);
}

}  // namespace KL
