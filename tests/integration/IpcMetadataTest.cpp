// An item's metadata over the real link, through the client library: XMP
// packets of a Marl composition and of a host project sequence with their
// progress reports, and the caption streams of a sequence with two caption
// tracks, selected per source.
#include "IpcTestSupport.h"
#include "ServerModes.h"

#include <ServerProcessInProcess.h>

#include <KL/CaptionText.h>
#include <tether/CaptionData.h>
#include <tether/MarlServer.h>
#include <tether/TolmenServer.h>
#include <tether/ipc/IpcBackend.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace tether::ipctest {
namespace {

using kilncore::utility::Guid;

const std::string kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const Guid kPromo("3A000000-0000-4000-8000-000000000001");
const Guid kFilm("5E7A1C0D-0000-4000-8000-000000000031");
const Guid kSilentNTSC("5E7A1C0D-0000-4000-8000-000000000032");
constexpr char kRenderingXMP[] = "$$$/TetherServer/RenderingXMP=Writing the metadata of ^1";

File FileOf(const std::string& relative) {
  const std::string path = kExamples + "/" + relative;
  return File(kilncore::WideString(path.begin(), path.end()));
}

// The progress reports of one key, as they arrive.
struct ReportLog {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::pair<double, std::vector<kilncore::WideString>>> reports;

  Server::ProgressCallback Callback() {
    return [this](const std::string& type, const double& value, const std::vector<kilncore::WideString>& arguments) {
      if (type != kRenderingXMP) return;
      std::lock_guard lock(mutex);
      reports.emplace_back(value, arguments);
      changed.notify_all();
    };
  }
  // Waits for the report that ends a packet (value 1).
  std::vector<std::pair<double, std::vector<kilncore::WideString>>> WaitForEnd() {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(changed.wait_for(lock, kWait, [this] { return !reports.empty() && reports.back().first == 1.0; }));
    return reports;
  }
};

class IpcMetadataTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    mInProcess = std::make_unique<tetherserver::InProcessServer>();
    mBackend = MakeBackendFor(GetParam(), *mInProcess);
  }
  void TearDown() override {
    mSources.clear();
    mProjects.clear();
    mServers.clear();
    mBackend.reset();
    mInProcess.reset();
  }

  template <class Typed, class Create>
  std::shared_ptr<Source> SourceOf(Create create, const std::string& file, const Guid& id, ReportLog* log = nullptr) {
    auto [typedStatus, typed] = Await<Typed>(create);
    EXPECT_EQ(typedStatus, 0);
    if (!typed) return nullptr;
    auto [status, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
    EXPECT_EQ(status, 0);
    if (!server) return nullptr;
    if (log) server->SetProgressCallback(log->Callback());
    auto [projectStatus, project] = Await<Project>([&](auto cb) { server->OpenProject(cb, FileOf(file)); });
    EXPECT_EQ(projectStatus, 0);
    if (!project) return nullptr;
    auto [sourceStatus, source] = Await<Source>([&](auto cb) { project->GetSource(cb, id); });
    EXPECT_EQ(sourceStatus, 0);
    mServers.push_back(server);
    mProjects.push_back(project);
    mSources.push_back(source);
    return source;
  }
  std::shared_ptr<Source> Sequence(const Guid& id, ReportLog* log = nullptr) {
    return SourceOf<TolmenServer>([&](auto cb) { mBackend->CreateTolmenServer(cb, kServerConnectionTypeDefault); },
                                  "host/captioned.tlmproj", id, log);
  }
  std::shared_ptr<Source> Promo(ReportLog* log = nullptr) {
    return SourceOf<MarlServer>([&](auto cb) { mBackend->CreateMarlServer(cb, kServerConnectionTypeDefault); },
                                "markers.marlp", kPromo, log);
  }

  std::unique_ptr<tetherserver::InProcessServer> mInProcess;
  std::shared_ptr<ipc::IpcBackend> mBackend;
  std::vector<std::shared_ptr<Server>> mServers;
  std::vector<std::shared_ptr<Project>> mProjects;
  std::vector<std::shared_ptr<Source>> mSources;
};

TEST_P(IpcMetadataTest, XMPOfAMarlCompositionAndItsProgress) {
  ReportLog log;
  auto source = Promo(&log);
  ASSERT_TRUE(source);
  // Frames 100 to 200 of the composition: only the logo's marker is in them.
  auto [status, packet] = AwaitValue<std::string>(
      [&](auto cb) { source->RenderXMP(RatioTime(4), RatioTime(4), cb); });
  ASSERT_EQ(status, 0);
  EXPECT_NE(packet.find("<xmpDM:name>Logo</xmpDM:name>"), std::string::npos) << packet;
  EXPECT_NE(packet.find("<xmpDM:startTime>25</xmpDM:startTime>"), std::string::npos) << packet;
  EXPECT_EQ(packet.find("<xmpDM:name>Start</xmpDM:name>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:timeValue>01:00:04:00</xmpDM:timeValue>"), std::string::npos);
  EXPECT_NE(packet.find("<xmpDM:value>100</xmpDM:value>"), std::string::npos);
  const auto reports = log.WaitForEnd();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_LT(reports[0].first, 0.0);
  EXPECT_EQ(reports[0].second, (std::vector<kilncore::WideString>{u"Promo with markers"}));
}

TEST_P(IpcMetadataTest, XMPOfASequenceCarriesItsMarkers) {
  auto source = Sequence(kFilm);
  ASSERT_TRUE(source);
  auto [status, packet] = AwaitValue<std::string>(
      [&](auto cb) { source->RenderXMP(RatioTime(0), source->GetDuration(), cb); });
  ASSERT_EQ(status, 0);
  for (const char* marker : {"Intro ends", "Shot", "Outro"}) {
    EXPECT_NE(packet.find(std::string("<xmpDM:name>") + marker + "</xmpDM:name>"), std::string::npos) << marker;
  }
  EXPECT_NE(packet.find("<xmpDM:timeFormat>23976Timecode</xmpDM:timeFormat>"), std::string::npos);
}

TEST_P(IpcMetadataTest, NegativeXMPSpanFails) {
  auto source = Sequence(kFilm);
  ASSERT_TRUE(source);
  auto [status, packet] = AwaitValue<std::string>(
      [&](auto cb) { source->RenderXMP(RatioTime(0), RatioTime(-1), cb); });
  EXPECT_NE(status, 0);
  EXPECT_TRUE(packet.empty());
}

TEST_P(IpcMetadataTest, CaptionsOfASequenceAreOneStreamPerTrack) {
  auto source = Sequence(kFilm);
  ASSERT_TRUE(source);
  auto [status, captions] = AwaitValue<CaptionData>([&](auto cb) { source->GetCaptionData(cb); });
  ASSERT_EQ(status, 0);
  EXPECT_EQ(captions.version, 1);
  ASSERT_EQ(captions.streams.size(), 2u);
  EXPECT_EQ(captions.streams[0], (CaptionStreamEntry{1, true, "English"}));
  EXPECT_EQ(captions.streams[1], (CaptionStreamEntry{2, false, "Deutsch"}));
  std::string reason;
  const auto document = KL::CaptionText::Parse(captions.serializedData, reason);
  ASSERT_TRUE(document) << reason;
  ASSERT_EQ(document->streams.size(), 2u);
  EXPECT_EQ(document->streams[0].cues.at(1).start, 24 * 10594584000);
  EXPECT_EQ(document->streams[0].cues.at(1).text, "Tonight: two lines,\nand a second one.");
}

TEST_P(IpcMetadataTest, SelectionShowsInTheNextCaptionsOfThatSourceOnly) {
  auto source = Sequence(kFilm);
  auto other = Sequence(kFilm);
  ASSERT_TRUE(source && other);
  CaptionSelectionData selection;
  selection.streamIndex = 1;
  auto [setStatus, accepted] = AwaitValue<bool>([&](auto cb) { source->SetCaptionSelectionData(selection, cb); });
  EXPECT_EQ(setStatus, 0);
  EXPECT_TRUE(accepted);
  auto [status, captions] = AwaitValue<CaptionData>([&](auto cb) { source->GetCaptionData(cb); });
  ASSERT_EQ(captions.streams.size(), 2u);
  EXPECT_FALSE(captions.streams[0].selected);
  EXPECT_TRUE(captions.streams[1].selected);
  auto [otherStatus, untouched] = AwaitValue<CaptionData>([&](auto cb) { other->GetCaptionData(cb); });
  EXPECT_TRUE(untouched.streams.at(0).selected);

  selection.streamIndex = 2;
  auto [badStatus, refused] = AwaitValue<bool>([&](auto cb) { source->SetCaptionSelectionData(selection, cb); });
  EXPECT_EQ(badStatus, 0);
  EXPECT_FALSE(refused);
}

TEST_P(IpcMetadataTest, SequenceWithoutCaptionTracksHasNoCaptions) {
  auto source = Sequence(kSilentNTSC);
  ASSERT_TRUE(source);
  auto [status, captions] = AwaitValue<CaptionData>([&](auto cb) { source->GetCaptionData(cb); });
  ASSERT_EQ(status, 0);
  EXPECT_TRUE(captions.serializedData.empty());
  EXPECT_TRUE(captions.streams.empty());
}

INSTANTIATE_TEST_SUITE_P(Roads, IpcMetadataTest, ::testing::Values(Mode::kInProcess, Mode::kChildProcess));

}  // namespace
}  // namespace tether::ipctest
