#pragma once

#include <KL/IMediaInfo.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>

namespace KL {

// A piece of media in the host's project, around the media item that an
// importer made for it.
class IMedia : public kilncore::classref::Unknown {
 public:
  ~IMedia() override;

  // The identifier of the importer that made the media item.
  virtual kilncore::utility::Guid GetImplementationID() const = 0;
  // The media item, or null.
  virtual kilncore::classref::InterfaceRef<IMediaInfo> GetMediaInfo() const = 0;

 protected:
  IMedia() = default;
};

}  // namespace KL
