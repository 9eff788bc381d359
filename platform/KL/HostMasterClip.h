#pragma once

#include <KL/IMasterClip.h>
#include <KL/ISequence.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <string_view>

namespace KL {

// The master clip of a loaded host project's clip item: a media file, or a
// sequence of the project, in which case it also answers for KL::ISequence
// with the sequence item's identifier as it was loaded.
class HostMasterClip final : public IMasterClip, public ISequence {
 public:
  // A clip of the media file `mediaPath`.
  HostMasterClip(kilncore::WideString name, kilncore::WideString mediaPath);
  // A sequence with the identifier `sequenceID`.
  HostMasterClip(kilncore::WideString name, const kilncore::utility::Guid& sequenceID);
  ~HostMasterClip() override;

  kilncore::WideString GetName() const override;
  kilncore::WideString GetMediaPath() const override;
  kilncore::utility::Guid GetSequenceID() const override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const kilncore::WideString mName;
  const kilncore::WideString mMediaPath;
  const kilncore::utility::Guid mSequenceID;
  const bool mIsSequence;
};

}  // namespace KL
