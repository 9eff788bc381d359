#pragma once

#include <KL/CaptionStream.h>

#include <kilncore/classref/Unknown.h>

#include <cstddef>
#include <cstdint>

namespace KL {

// The captions of a media item.
class ICaptioningSource : public kilncore::classref::Unknown {
 public:
  ~ICaptioningSource() override;

  // The format of the caption stream, which frames that carry captions are
  // asked for in (RL::FrameFormat::captionStreamFormat).
  virtual uint32_t GetStreamFormat() const = 0;
  // The caption streams, in the order the item lists them.
  virtual size_t GetStreamCount() const = 0;
  // Stream `index`, or null when there is no such stream.
  virtual const CaptionStream* GetStream(size_t index) const = 0;

 protected:
  ICaptioningSource() = default;
};

}  // namespace KL
