// An item's metadata over the real link, through the module: XMP packets of a
// Marl composition and of a host project sequence, the captions of a sequence
// with two caption tracks, and the description lines of items at the common
// rates, with and without audio.
#include "ModuleRoadTest.h"

#include <KL/ICaptioningSourceOwner.h>
#include <KL/IMediaAnalysis.h>
#include <KL/IMediaMetaData.h>
#include <RL/BinaryData.h>

#include <TetherMedia/Lifecycle.h>
#include <mediainfo/TetherProgress.h>

#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace TetherMedia::integration {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;

const Guid kPromo(u"3A000000-0000-4000-8000-000000000001");
const Guid kFilm(u"5E7A1C0D-0000-4000-8000-000000000031");
const Guid kSilentNTSC(u"5E7A1C0D-0000-4000-8000-000000000032");
const Guid kMonoPAL(u"5E7A1C0D-0000-4000-8000-000000000033");

class MetadataRoadTest : public ModuleRoadTest {
 protected:
  void ImportSequence(const Guid& id) {
    mClip.emplace(HostSample("captioned.tlmproj"), id);
    ASSERT_EQ(mClip->ImportResult(), 0);
  }

  std::string Packet() {
    const InterfaceRef<KL::IMediaMetaData> metadata(mClip->Item());
    EXPECT_TRUE(metadata);
    RL::BinaryData out;
    EXPECT_EQ(metadata->ReadXMP(false, false, 0, out), 0);
    return std::string(reinterpret_cast<const char*>(out.GetData()), out.GetSize());
  }

  std::vector<std::string> Lines(kilnmediatypes::TimeDisplayType display) {
    const InterfaceRef<KL::IMediaAnalysis> analysis(mClip->Item());
    EXPECT_TRUE(analysis);
    std::vector<kilncore::WideString> lines;
    EXPECT_EQ(analysis->GetAnalysisLines(0, lines, 0, kilnmediatypes::TimeDisplay(display), 0, 0), 0);
    std::vector<std::string> texts;
    for (const auto& line : lines) texts.push_back(kilncore::string::UTF16to8(line));
    return texts;
  }
};

TEST_P(MetadataRoadTest, XMPOfAMarlCompositionCarriesItsDescriptionAndMarkers) {
  mClip.emplace(kilncore::string::UTF8to16(mExamples.PathFor("markers.marlp").string()), kPromo);
  ASSERT_EQ(mClip->ImportResult(), 0);
  const std::string packet = Packet();
  EXPECT_EQ(packet.rfind("<?xpacket begin=", 0), 0u) << packet;
  EXPECT_NE(packet.find("Promo with markers"), std::string::npos);
  EXPECT_NE(packet.find("Marl (reference link server)"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:timeValue>01:00:00:00</xmpDM:timeValue>"), std::string::npos) << packet;
  EXPECT_NE(packet.find("<xmpDM:name>Start</xmpDM:name>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:name>Logo</xmpDM:name>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:name>Last frame</xmpDM:name>"), std::string::npos);
  EXPECT_NE(packet.find("<stDim:w>1280</stDim:w>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:value>250</xmpDM:value>"), std::string::npos);
}

TEST_P(MetadataRoadTest, ReadingXMPShowsTheModulesAndTheServersProgress) {
  mClip.emplace(kilncore::string::UTF8to16(mExamples.PathFor("markers.marlp").string()), kPromo);
  ASSERT_EQ(mClip->ImportResult(), 0);
  auto station = kilncore::messaging::FindStation(GetProgressStation());
  ASSERT_NE(station, nullptr);
  std::set<std::string> keys;
  const uint64_t listener = station->AddListener([&keys](const kilncore::messaging::Message& message) {
    if (const auto* progress = kilncore::messaging::MessageCast<TetherProgress>(message)) {
      keys.insert(progress->GetProgressType());
    }
  });
  EXPECT_FALSE(Packet().empty());
  const std::set<std::string> expected{"$$$/TetherMedia/ReadingXMP=Reading XMP...",
                                       "$$$/TetherServer/RenderingXMP=Writing the metadata of ^1"};
  // The server's reports come on the link's threads and reach the UI queue
  // in their own time; this loop is the host's UI thread.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!std::includes(keys.begin(), keys.end(), expected.begin(), expected.end()) &&
         std::chrono::steady_clock::now() < deadline) {
    kilncore::messaging::UIThreadQueue::Instance().WaitAndPump(std::chrono::steady_clock::now() +
                                                               std::chrono::milliseconds(100));
  }
  station->RemoveListener(listener);
  EXPECT_TRUE(std::includes(keys.begin(), keys.end(), expected.begin(), expected.end()));
}

TEST_P(MetadataRoadTest, XMPOfASequenceCarriesItsRateAndMarkers) {
  ImportSequence(kFilm);
  const std::string packet = Packet();
  EXPECT_NE(packet.find("Film 23.976 with captions"), std::string::npos) << packet;
  EXPECT_NE(packet.find("23976Timecode"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:videoFrameRate>23.976</xmpDM:videoFrameRate>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:name>Intro ends</xmpDM:name>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:frameRate>f24000s1001</xmpDM:frameRate>"), std::string::npos);
}

TEST_P(MetadataRoadTest, CaptionsOfASequenceWithTwoTracks) {
  ImportSequence(kFilm);
  const InterfaceRef<KL::ICaptioningSourceOwner> owner(mClip->Item());
  ASSERT_TRUE(owner);
  InterfaceRef<KL::ICaptioningSource> captions;
  EXPECT_EQ(owner->GetCaptioningSource(captions), 0);
  ASSERT_TRUE(captions);
  EXPECT_EQ(captions->GetStreamFormat(), 1u);
  ASSERT_EQ(captions->GetStreamCount(), 2u);
  EXPECT_EQ(captions->GetStream(0)->label, "English");
  ASSERT_EQ(captions->GetStream(0)->cues.size(), 2u);
  EXPECT_EQ(captions->GetStream(0)->cues[1].text, "Tonight: two lines,\nand a second one.");
  EXPECT_EQ(captions->GetStream(1)->cues[1].text, "Heute: \xC3\xBC" "ber Untertitel.");
  EXPECT_EQ(captions->GetStream(1)->cues[1].start, 48 * 10594584000);
  EXPECT_EQ(owner->GetSelectedCaptionStream(), 1u);
}

TEST_P(MetadataRoadTest, SelectingAStreamReachesTheServerWithoutChangingTheFetchedCaptions) {
  ImportSequence(kFilm);
  const InterfaceRef<KL::ICaptioningSourceOwner> owner(mClip->Item());
  ASSERT_TRUE(owner);
  InterfaceRef<KL::ICaptioningSource> captions;
  owner->GetCaptioningSource(captions);
  owner->SelectCaptionStream(1);
  owner->SelectCaptionStream(7);  // out of range: the server refuses, nothing breaks
  EXPECT_EQ(owner->GetSelectedCaptionStream(), 1u);
}

TEST_P(MetadataRoadTest, DescriptionAt23976WithAudio) {
  ImportSequence(kFilm);
  const auto lines = Lines(kilnmediatypes::kTimeDisplayType_23976Timecode);
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], "Film 23.976 with captions/captioned.tlmproj");
  EXPECT_EQ(lines[1], "1280 x 720");
  EXPECT_EQ(lines[2], "00:00:04:00, 23.976 fps");
  EXPECT_EQ(lines[3], "Color Space: Rec. 709");
  EXPECT_EQ(lines[4], "48000 Hz - 32 bit float - Stereo");
}

TEST_P(MetadataRoadTest, DescriptionAt2997WithoutAudio) {
  ImportSequence(kSilentNTSC);
  const auto lines = Lines(kilnmediatypes::kTimeDisplayType_2997DropTimecode);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[1], "720 x 480");
  EXPECT_EQ(lines[2], "00:00:02;00, 29.97 fps");
}

TEST_P(MetadataRoadTest, DescriptionAt25WithMonoAudio) {
  ImportSequence(kMonoPAL);
  const auto lines = Lines(kilnmediatypes::kTimeDisplayType_25Timecode);
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[2], "00:00:02:00, 25.00 fps");
  EXPECT_EQ(lines[4], "44100 Hz - 32 bit float - Mono");
}

TEST_P(MetadataRoadTest, MarlItemHasNoCaptionsFromTheModule) {
  mClip.emplace(kilncore::string::UTF8to16(mExamples.PathFor("markers.marlp").string()), kPromo);
  ASSERT_EQ(mClip->ImportResult(), 0);
  const InterfaceRef<KL::ICaptioningSourceOwner> owner(mClip->Item());
  InterfaceRef<KL::ICaptioningSource> captions;
  EXPECT_EQ(owner->GetCaptioningSource(captions), 0);
  EXPECT_FALSE(captions);
  EXPECT_EQ(owner->GetSelectedCaptionStream(), static_cast<uint64_t>(-1));
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(MetadataRoadTest);

}  // namespace
}  // namespace TetherMedia::integration
