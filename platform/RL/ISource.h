#pragma once

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>

namespace RL {

// A stream of a media item, as the host's media model sees any stream before
// asking for its video or audio interfaces. Operations return 0 or above on
// success and a negative result on failure.
class ISource : public kilncore::classref::Unknown {
 public:
  // Bit of GetTimeStretchFlags: the stream has regions that must not be
  // stretched in time.
  static constexpr uint32_t kTimeStretchFlag_FrozenUnstretchableRegions = 4;

  ~ISource() override;

  // The length of the stream.
  virtual int32_t GetDuration(kilnmediatypes::TickTime& outDuration) = 0;
  // How the stream may be stretched in time; see the kTimeStretchFlag_ bits.
  virtual int32_t GetTimeStretchFlags(uint32_t& outFlags) = 0;
  // Ends every wait on this stream at once; the waits fail as cancelled.
  virtual int32_t CancelPendingRequests() = 0;
  // A shared reference to the stream object itself.
  virtual int32_t GetSourceRef(kilncore::classref::InterfaceRef<ISource>& outSource) = 0;

 protected:
  ISource() = default;
};

}  // namespace RL
