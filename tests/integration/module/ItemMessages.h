#pragma once

#include <KL/IMediaInfo.h>
#include <kilncore/messaging/StationRegistry.h>

#include <memory>

namespace TetherMedia::integration {

// The change and offline messages that reach one item's station, counted as
// the host's user-interface queue delivers them.
class ItemMessages {
 public:
  explicit ItemMessages(const KL::IMediaInfo& item);
  // Pumps the host's user-interface queue, as its main loop does, until the
  // counts reach what is wanted; false if they don't within the wait limit.
  bool WaitFor(int changed, int deleted);
  int Changed() const { return mCounts->changed; }
  int Deleted() const { return mCounts->deleted; }

 private:
  struct Counts {
    int changed = 0;
    int deleted = 0;
  };
  std::shared_ptr<kilncore::messaging::Station> mStation;
  std::shared_ptr<Counts> mCounts;
};

}  // namespace TetherMedia::integration
