// A host project's sequence over the real link, through the module: smart-
// render segments with their per-clip streams, and the import of project
// items marked by the host project server.
#include "ModuleRoadTest.h"

#include <TetherMedia/ProjectEnumeration.h>

#include <KL/IClipProjectItem.h>
#include <KL/IProperties.h>
#include <KL/IUniqueSerializeable.h>
#include <KL/IVideoStream.h>
#include <KL/Keel.h>
#include <KL/MasterClipUtils.h>
#include <KL/OverrideReadOnlyPropertyWarningMessage.h>
#include <RL/ISmartRenderSegmentInfo.h>
#include <WF/CallbackInstanceIDMap.h>
#include <WF/VideoStreamWithSequenceFieldTypeSuiteObject.h>

#include <kilncore/messaging/Messaging.h>
#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/PixelFormat.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TetherMedia::integration {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

const Guid kMain(u"5E7A1C0D-0000-4000-8000-000000000011");
const Guid kSmart(u"5E7A1C0D-0000-4000-8000-0000000000A1");
const Guid kTitleCard(u"C7A1C0DE-0000-4000-8000-000000000021");
constexpr int64_t kTicksPerFrame = 10160640000;

class HostProjectRoadTest : public ModuleRoadTest {
 protected:
  static std::optional<std::string> TextOf(const InterfaceRef<KL::IProjectItem>& item,
                                           const kilncore::utility::ImmutableString& key) {
    KL::SerializeableValue<std::string> value;
    if (!InterfaceRef<KL::IProperties>(item)->ReadProperty(key, value)) return std::nullopt;
    return value.Get();
  }
  static std::optional<bool> BoolOf(const InterfaceRef<KL::IProjectItem>& item,
                                    const kilncore::utility::ImmutableString& key) {
    KL::SerializeableValue<bool> value;
    if (!InterfaceRef<KL::IProperties>(item)->ReadProperty(key, value)) return std::nullopt;
    return value.Get();
  }
};

TEST_P(HostProjectRoadTest, TwoSegmentsOfOneClipShareOnePerClipStreamAndInstanceId) {
  mClip.emplace(HostSample("smart.tlmproj"), kSmart);
  ASSERT_EQ(mClip->ImportResult(), 0);
  const InterfaceRef<RL::ISmartRenderSegmentInfo> smart(mClip->Video());
  ASSERT_TRUE(smart);
  std::map<TickTime, RL::SmartRenderSegment> segments;
  smart->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(40 * kTicksPerFrame),
                                             kilnmediatypes::kPixelFormat_BGRA_4444_8u, false, false, 0, segments);
  ASSERT_EQ(segments.size(), 2u);
  const RL::SmartRenderSegment& first = segments.begin()->second;
  const RL::SmartRenderSegment& second = std::next(segments.begin())->second;
  EXPECT_EQ(first.EndTime, TickTime(10 * kTicksPerFrame));
  EXPECT_EQ(second.StartTime, TickTime(20 * kTicksPerFrame));
  EXPECT_EQ(second.MediaStartTime, TickTime(120 * kTicksPerFrame));
  EXPECT_EQ(first.ClipID, second.ClipID);

  // The instance id reaches a stream of the shot alone: at frame 15, where
  // the sequence shows the title above it, the per-clip stream shows the shot.
  const auto filed = WF::FindCallbackInstance(first.ClipID);
  auto* suite = dynamic_cast<WF::VideoStreamWithSequenceFieldTypeSuiteObject*>(filed.Get());
  ASSERT_NE(suite, nullptr);
  const InterfaceRef<KL::IVideoSource> perClip = suite->GetVideoStream()->GetVideoSource();
  RL::FrameFormat format = WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  perClip->SelectFrameFormat(TickTime(15 * kTicksPerFrame), format);
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(GetFrameAsTheHostDoes(perClip, mClip->Prefs(), TickTime(15 * kTicksPerFrame), format, frame), 0);
  ASSERT_TRUE(frame);
  const auto* pixels = static_cast<const uint8_t*>(frame->GetData());
  const size_t middle = (size_t{18} * static_cast<size_t>(frame->GetRowBytes())) + 32 * 4;
  EXPECT_EQ(pixels[middle], 60);       // blue of the green shot
  EXPECT_EQ(pixels[middle + 1], 180);  // green
}

TEST_P(HostProjectRoadTest, ImportedItemsAreMarkedUnmarkedOrLeftWhereReadOnly) {
  const kilncore::WideString path = HostSample("edit.tlmproj");
  std::vector<InterfaceRef<KL::IProjectItem>> items;
  ASSERT_EQ(GetProjectItemsFromProject(path, {kMain}, items), 0);
  // The sequence, then the master clips it shows, which come unmarked.
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(TextOf(items[0], KL::kOriginalProjectItemGuid), kMain.AsUTF8String());
  EXPECT_EQ(TextOf(items[0], KL::kOriginalProjectItemProjectPath), kilncore::string::UTF16to8(path));
  EXPECT_NE(InterfaceRef<KL::IUniqueSerializeable>(items[0])->GetUniqueID(), kMain);
  const InterfaceRef<KL::IClipProjectItem> sequenceClip(items[0]);
  ASSERT_TRUE(sequenceClip);
  EXPECT_EQ(KL::MasterClipUtils::GetSequence(sequenceClip->GetMasterClip())->GetSequenceID(), kMain);

  EXPECT_EQ(BoolOf(items[1], KL::kProjectItemMarkedForNotImportPropertyKey), true);
  EXPECT_EQ(InterfaceRef<KL::IUniqueSerializeable>(items[1])->GetUniqueID(), kTitleCard);
  // The interview's key is read-only and false in the project: it stays so.
  EXPECT_EQ(BoolOf(items[2], KL::kProjectItemMarkedForNotImportPropertyKey), false);
  std::vector<std::string> refused;
  const auto station =
      kilncore::messaging::FindStation(InterfaceRef<KL::IProperties>(items[2])->GetPropertyStationID());
  ASSERT_TRUE(station);
  station->AddListener([&](const kilncore::messaging::Message& message) {
    if (const auto* warning = kilncore::messaging::MessageCast<KL::OverrideReadOnlyPropertyWarningMessage>(message)) {
      refused.push_back(warning->GetKey().AsUTF8());
    }
  });
  kilncore::messaging::PumpUIThreadMessages();
  EXPECT_EQ(refused, std::vector<std::string>{KL::kProjectItemMarkedForNotImportPropertyKey.AsUTF8()});
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(HostProjectRoadTest);

}  // namespace
}  // namespace TetherMedia::integration
