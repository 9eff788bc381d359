#pragma once

#include <KL/IVideoSource.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>

namespace KL {

// A video stream of the host's media model: what a track item plays. A stream
// is made over a video source and keeps that source alive.
class IVideoStream : public kilncore::classref::Unknown {
 public:
  ~IVideoStream() override;

  // The source whose frames the stream plays; never null.
  virtual kilncore::classref::InterfaceRef<IVideoSource> GetVideoSource() const = 0;

 protected:
  IVideoStream() = default;
};

}  // namespace KL
