#pragma once

#include <KL/ICaptioningSource.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>

#include <cstdint>

namespace KL {

// A media item that may carry captions. Operations are in slot order.
class ICaptioningSourceOwner : public kilncore::classref::Unknown {
 public:
  ~ICaptioningSourceOwner() override;

  // The item's captions into `out`, left null if it has none.
  virtual int32_t GetCaptioningSource(kilncore::classref::InterfaceRef<ICaptioningSource>& out) = 0;
  virtual void SelectCaptionStream(uint64_t index) = 0;
  virtual uint64_t GetSelectedCaptionStream() = 0;

 protected:
  ICaptioningSourceOwner() = default;
};

}  // namespace KL
