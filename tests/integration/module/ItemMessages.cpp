#include "ItemMessages.h"

#include "ModuleRoadTest.h"

#include <KL/MediaInfoChangedMessage.h>
#include <KL/MediaInfoDeletedMessage.h>
#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/UIThreadQueue.h>

namespace TetherMedia::integration {

ItemMessages::ItemMessages(const KL::IMediaInfo& item)
    : mStation(kilncore::messaging::FindStation(item.GetStationID())), mCounts(std::make_shared<Counts>()) {
  mStation->AddListener([counts = mCounts](const kilncore::messaging::Message& message) {
    if (kilncore::messaging::MessageCast<KL::MediaInfoChangedMessage>(message)) ++counts->changed;
    if (kilncore::messaging::MessageCast<KL::MediaInfoDeletedMessage>(message)) ++counts->deleted;
  });
}

bool ItemMessages::WaitFor(int changed, int deleted) {
  return WaitUntil([&] {
    kilncore::messaging::PumpUIThreadMessages();
    return mCounts->changed >= changed && mCounts->deleted >= deleted;
  });
}

}  // namespace TetherMedia::integration
