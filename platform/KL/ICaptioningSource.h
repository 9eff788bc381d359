#pragma once

#include <kilncore/classref/Unknown.h>

#include <cstdint>

namespace KL {

// The captions of a media item.
class ICaptioningSource : public kilncore::classref::Unknown {
 public:
  ~ICaptioningSource() override;

  // The format of the caption stream, which frames that carry captions are
  // asked for in (RL::FrameFormat::captionStreamFormat).
  virtual uint32_t GetStreamFormat() const = 0;

 protected:
  ICaptioningSource() = default;
};

}  // namespace KL
