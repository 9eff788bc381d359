#pragma once

#include "../mediainfo_creation/CreationTestSupport.h"

#include <KL/MediaInfoChangedMessage.h>
#include <KL/MediaInfoDeletedMessage.h>
#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <tether/testing/ScriptedBackend.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <gtest/gtest.h>

#include <memory>

namespace TetherMedia::testing_support {

// Counts the change and offline messages that reach one item's station once
// the UI thread's queue is pumped.
class ItemMessages {
 public:
  explicit ItemMessages(const TetherMediaInfo& item)
      : mStation(kilncore::messaging::FindStation(item.GetStationID())) {
    EXPECT_TRUE(mStation);
    if (!mStation) return;
    mStation->AddListener([counts = mCounts](const kilncore::messaging::Message& message) {
      if (kilncore::messaging::MessageCast<KL::MediaInfoChangedMessage>(message)) ++counts->changed;
      if (kilncore::messaging::MessageCast<KL::MediaInfoDeletedMessage>(message)) ++counts->deleted;
    });
  }

  // Waits until the scripted server has answered everything, then delivers
  // what the answers posted.
  void Deliver(tether::testing::ScriptedBackend& backend) {
    EXPECT_TRUE(backend.WaitForIdle());
    kilncore::messaging::PumpUIThreadMessages();
  }
  int Changed() const { return mCounts->changed; }
  int Deleted() const { return mCounts->deleted; }

 private:
  struct Counts {
    int changed = 0;
    int deleted = 0;
  };
  std::shared_ptr<kilncore::messaging::Station> mStation;
  std::shared_ptr<Counts> mCounts = std::make_shared<Counts>();
};

// A typical source whose content state is `state`.
inline tether::testing::ScriptedSourceSetup SourceWithState(const kilncore::utility::Guid& state) {
  tether::testing::ScriptedSourceSetup setup = tether::testing::ScriptedSourceSetup::Typical();
  setup.info.contentState = state;
  return setup;
}

}  // namespace TetherMedia::testing_support
