// The server's roads beyond projects and frames: progress while a project
// opens, cancelled renders, file servers, remote assets, XML export, captions
// and font changes, over both roads to a server.
#include "IpcTestSupport.h"
#include "ServerModes.h"

#include <ServerProcessInProcess.h>
#include <SessionSyntheticContent.h>
#include <server/project/Project.h>

#include <kilncore/string/UTFConversion.h>
#include <tether/Container.h>
#include <tether/EaselServer.h>
#include <tether/FileServer.h>
#include <tether/TolmenServer.h>
#include <tether/ipc/IpcBackend.h>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <string>
#include <vector>

namespace tether::ipctest {
namespace {

using kilncore::utility::Guid;
using tetherserver::SessionSyntheticContent;

// The status of a render cancelled before the server delivered it.
constexpr int kCancelled = -6;

const std::string kExamples = TETHER_TEST_EXAMPLES_FOLDER;

File ExampleFile(const std::string& name) {
  std::string path = kExamples + "/" + name;
  return File(kilncore::WideString(path.begin(), path.end()));
}

class IpcServerRoadsTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    mInProcess = std::make_unique<tetherserver::InProcessServer>();
    mBackend = MakeBackendFor(GetParam(), *mInProcess);
  }
  void TearDown() override {
    mBackend.reset();
    mInProcess.reset();
  }

  std::shared_ptr<Server> ConnectMarl() {
    auto [typedStatus, typed] =
        Await<MarlServer>([&](auto cb) { mBackend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
    EXPECT_EQ(typedStatus, 0);
    if (!typed) return nullptr;
    mTyped = typed;
    auto [status, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
    EXPECT_EQ(status, 0);
    return server;
  }

  std::shared_ptr<Project> OpenExample(Server& server, const std::string& name) {
    auto [status, project] = Await<Project>([&](auto cb) { server.OpenProject(cb, ExampleFile(name)); });
    EXPECT_EQ(status, 0) << name;
    return project;
  }

  void SimulateFontChange() {
    if (GetParam() == Mode::kInProcess) {
      mInProcess->SimulateFontChange();
    } else {
      ASSERT_NE(mBackend->ServerProcessId(), 0);
      ASSERT_EQ(::kill(mBackend->ServerProcessId(), SIGUSR1), 0);
    }
  }

  std::unique_ptr<tetherserver::InProcessServer> mInProcess;
  std::shared_ptr<ipc::IpcBackend> mBackend;
  std::shared_ptr<MarlServer> mTyped;
};

// ---- Progress -------------------------------------------------------------

struct ProgressLog {
  struct Entry {
    std::string type;
    double value;
    std::vector<kilncore::WideString> arguments;
  };
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Entry> entries;

  Server::ProgressCallback Callback() {
    return [this](const std::string& type, const double& value, const std::vector<kilncore::WideString>& args) {
      std::lock_guard lock(mutex);
      entries.push_back({type, value, args});
      changed.notify_all();
    };
  }
  // Waits until the report that ends an opening (value 1) has come.
  std::vector<Entry> WaitForEnd() {
    std::unique_lock lock(mutex);
    bool ended = changed.wait_for(lock, kWait, [this] { return !entries.empty() && entries.back().value == 1.0; });
    EXPECT_TRUE(ended) << "no final progress report";
    return entries;
  }
};

TEST_P(IpcServerRoadsTest, ProgressReportsOfAnOpeningProjectReachTheCallbackInOrder) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  ProgressLog log;
  server->SetProgressCallback(log.Callback());
  ASSERT_TRUE(OpenExample(*server, "title.marlgraphic"));
  auto entries = log.WaitForEnd();

  const std::string opening = "$$$/TetherServer/OpeningProject=Opening ^1";
  const std::string missing = "$$$/TetherServer/MissingFont=The font ^2 ^3 of ^1 is missing";
  const std::string path = kExamples + "/title.marlgraphic";
  const kilncore::WideString widePath(path.begin(), path.end());
  ASSERT_EQ(entries.size(), 4u);
  EXPECT_EQ(entries[0].type, opening);
  EXPECT_EQ(entries[0].value, 0.0);
  EXPECT_EQ(entries[1].type, opening);
  EXPECT_EQ(entries[1].value, 0.5);
  // The project names a font that the machine lacks: reported with unknown
  // progress, between reading and the end.
  EXPECT_EQ(entries[2].type, missing);
  EXPECT_LT(entries[2].value, 0.0);
  EXPECT_EQ(entries[2].arguments, (std::vector<kilncore::WideString>{widePath, u"Veldmoor Sans", u"Bold"}));
  EXPECT_EQ(entries[3].type, opening);
  EXPECT_EQ(entries[3].value, 1.0);
  for (const auto& entry : entries) {
    ASSERT_FALSE(entry.arguments.empty());
    EXPECT_EQ(entry.arguments[0], widePath);
  }
}

TEST_P(IpcServerRoadsTest, ReplacedProgressCallbackReceivesTheNextOpening) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  ProgressLog first;
  ProgressLog second;
  server->SetProgressCallback(first.Callback());
  ASSERT_TRUE(OpenExample(*server, "simple.marlp"));
  EXPECT_EQ(first.WaitForEnd().size(), 3u);
  server->SetProgressCallback(second.Callback());
  ASSERT_TRUE(OpenExample(*server, "nested.marlp"));
  EXPECT_EQ(second.WaitForEnd().size(), 3u);
  std::lock_guard lock(first.mutex);
  EXPECT_EQ(first.entries.size(), 3u);
}

// ---- Cancelled renders ----------------------------------------------------

std::shared_ptr<VideoRenderer> MakeRenderer(Source& source, int width, int height) {
  VideoRenderOptions options;
  options.SetBounds(width, height);  // the default pixel format: 8-bit BGRA
  auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { source.GetVideoRenderer(cb, options); });
  EXPECT_EQ(status, 0);
  return renderer;
}

TEST_P(IpcServerRoadsTest, CancelAnswersARenderThatTheServerHoldsWithTheCancelledStatus) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kHangingItemID);
  ASSERT_TRUE(chain.source);
  auto renderer = MakeRenderer(*chain.source, 32, 16);
  ASSERT_TRUE(renderer);
  std::atomic<int> calls{0};
  std::promise<Block> answered;
  const Guid job = Guid::CreateUnique();
  renderer->RenderVideo(
      [&](const Guid& id, const BlockData& data, int status) {
        EXPECT_EQ(id, job);
        if (++calls == 1) answered.set_value(Block{status, data});
      },
      job, RatioTime(3, 25));
  renderer->CancelVideoRender(job);
  auto future = answered.get_future();
  ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
  Block block = future.get();
  EXPECT_EQ(block.status, kCancelled);
  EXPECT_FALSE(block.data);
  // A second cancel of the same job finds nothing: no second answer.
  renderer->CancelVideoRender(job);
  auto [status, container] = Await<Container>([&](auto cb) { chain.project->GetContainer(cb, Guid()); });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(calls.load(), 1);
}

TEST_P(IpcServerRoadsTest, CancelRacingTheRenderAnswerCallsEveryCallbackExactlyOnce) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  auto renderer = MakeRenderer(*chain.source, 64, 32);
  ASSERT_TRUE(renderer);
  constexpr int kJobs = 300;
  std::vector<Guid> jobs(kJobs);
  std::vector<std::atomic<int>> calls(kJobs);
  std::atomic<int> delivered{0};
  std::atomic<int> cancelled{0};
  std::atomic<int> wrong{0};
  std::mutex mutex;
  std::condition_variable done;
  int finished = 0;
  for (int i = 0; i < kJobs; ++i) {
    jobs[i] = Guid::CreateUnique();
  }
  for (int i = 0; i < kJobs; ++i) {
    renderer->RenderVideo(
        [&, i](const Guid& id, const BlockData& data, int status) {
          if (id != jobs[i]) ++wrong;
          ++calls[i];
          if (status == 0 && data) {
            // A delivered frame is the right one, whatever raced with it.
            const auto* bytes = static_cast<const uint8_t*>(data->GetAddress());
            if (bytes[2] != SessionSyntheticContent::ExpectedByte(i, 0, 0, 2)) ++wrong;
            data->ReleaseAddress();
            ++delivered;
          } else if (status == kCancelled && !data) {
            ++cancelled;
          } else {
            ++wrong;
          }
          std::lock_guard lock(mutex);
          ++finished;
          done.notify_all();
        },
        jobs[i], RatioTime(i, 25));
    // Every other job is cancelled at once, racing its render; the rest a few
    // jobs later, when their answer is most likely on the way.
    if (i % 2 == 0) {
      renderer->CancelVideoRender(jobs[i]);
    } else if (i >= 5) {
      renderer->CancelVideoRender(jobs[i - 4]);
    }
  }
  {
    std::unique_lock lock(mutex);
    ASSERT_TRUE(done.wait_for(lock, kWait, [&] { return finished == kJobs; }));
  }
  // One more round trip: any duplicate answer would have come before it.
  auto [status, container] = Await<Container>([&](auto cb) { chain.project->GetContainer(cb, Guid()); });
  EXPECT_EQ(status, 0);
  for (int i = 0; i < kJobs; ++i) {
    EXPECT_EQ(calls[i].load(), 1) << "job " << i;
  }
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(delivered + cancelled, kJobs);
  // Buffers of dropped frames went back to the pool in a state that the next
  // frame can use.
  Block after = AwaitBlock(*renderer, RatioTime(9, 25));
  ASSERT_EQ(after.status, 0);
  ASSERT_TRUE(after.data);
  EXPECT_EQ(static_cast<const uint8_t*>(after.data->GetAddress())[2], SessionSyntheticContent::ExpectedByte(9, 0, 0, 2));
  after.data->ReleaseAddress();
}

TEST_P(IpcServerRoadsTest, CancelAfterTheFrameArrivedChangesNothing) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  auto renderer = MakeRenderer(*chain.source, 16, 16);
  ASSERT_TRUE(renderer);
  std::atomic<int> calls{0};
  std::promise<int> first;
  const Guid job = Guid::CreateUnique();
  renderer->RenderVideo([&](const Guid&, const BlockData&, int status) {
    if (++calls == 1) first.set_value(status);
  }, job, RatioTime(1, 25));
  EXPECT_EQ(first.get_future().get(), 0);
  renderer->CancelVideoRender(job);
  EXPECT_EQ(AwaitBlock(*renderer, RatioTime(2, 25)).status, 0);
  EXPECT_EQ(calls.load(), 1);
}

// ---- File servers ---------------------------------------------------------

struct Opened {
  int status = -1;
  std::shared_ptr<Source> source;
  kilncore::WideString kind;
  kilncore::WideString message;
  int detail = -1;
};

Opened OpenFile(FileServer& server, const File& file) {
  auto promise = std::make_shared<std::promise<Opened>>();
  auto future = promise->get_future();
  server.OpenFile(
      [promise](ConnectionStatus status, const std::shared_ptr<Source>& source, const kilncore::WideString& kind,
                const kilncore::WideString& message, int detail) {
        promise->set_value(Opened{status, source, kind, message, detail});
      },
      file);
  if (future.wait_for(kWait) != std::future_status::ready) {
    ADD_FAILURE() << "OpenFile never answered";
    return {};
  }
  return future.get();
}

TEST_P(IpcServerRoadsTest, TolmenFileServerOpensAFileAsItsFirstComposition) {
  auto [typedStatus, typed] =
      Await<TolmenServer>([&](auto cb) { mBackend->CreateTolmenServer(cb, kServerConnectionTypeDefault); });
  ASSERT_EQ(typedStatus, 0);
  auto [status, fileServer] = Await<FileServer>([&](auto cb) { typed->CreateFileServerLink(cb); });
  ASSERT_EQ(status, 0);
  ASSERT_TRUE(fileServer);

  Opened opened = OpenFile(*fileServer, ExampleFile("nested.marlp"));
  ASSERT_EQ(opened.status, 0);
  ASSERT_TRUE(opened.source);
  EXPECT_EQ(opened.source->GetID(), Guid("C0000000-0000-4000-8000-000000000001"));
  EXPECT_EQ(opened.kind, u"Marl project");
  EXPECT_EQ(opened.message, u"");
  EXPECT_EQ(opened.detail, 5);  // the file's compositions
  Block block = AwaitBlock(*MakeRenderer(*opened.source, 16, 16), RatioTime(0));
  EXPECT_EQ(block.status, 0);

  Opened missing = OpenFile(*fileServer, ExampleFile("no-such-file.marlp"));
  EXPECT_EQ(missing.status, kConnectionStatusNotFound);
  EXPECT_FALSE(missing.source);
}

TEST_P(IpcServerRoadsTest, EaselFileServerNotesMissingPicturesAndFonts) {
  auto [typedStatus, typed] = Await<EaselServer>([&](auto cb) { mBackend->CreateEaselServer(cb); });
  ASSERT_EQ(typedStatus, 0);
  auto [status, fileServer] = Await<FileServer>([&](auto cb) { typed->ConnectFileServer(cb); });
  ASSERT_TRUE(fileServer);
  Opened opened = OpenFile(*fileServer, ExampleFile("poster.esd"));
  ASSERT_EQ(opened.status, 0);
  EXPECT_EQ(opened.kind, u"Easel document");
  EXPECT_EQ(opened.message, u"1 file(s) missing: " + kilncore::string::UTF8to16(kExamples) +
                                u"/pictures/meadow.png; 1 font(s) missing: Easel Script Regular");
  EXPECT_EQ(opened.detail, 5);
}

TEST_P(IpcServerRoadsTest, ProjectRoadOfAFileServingApplicationIsNotOffered) {
  auto [typedStatus, typed] =
      Await<TolmenServer>([&](auto cb) { mBackend->CreateTolmenServer(cb, kServerConnectionTypeDefault); });
  ASSERT_TRUE(typed);
  auto [serverStatus, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
  ASSERT_TRUE(server);
  auto [status, project] = Await<Project>([&](auto cb) { server->OpenProject(cb, ExampleFile("simple.marlp")); });
  EXPECT_NE(status, 0);
  EXPECT_FALSE(project);
}

// ---- Remote assets --------------------------------------------------------

FarsideAssetRequestInfo AssetRequest(const std::string& asset) {
  FarsideAssetRequestInfo request;
  request.serverAddress = "https://farside.example";
  request.credentialA = "user";
  request.credentialB = "secret";
  request.production = kExamples + "/nested.marlp";
  request.asset = asset;
  return request;
}

TEST_P(IpcServerRoadsTest, RemoteAssetNamesACompositionOfItsProductionByIdOrName) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  auto byId = Await<Source>(
      [&](auto cb) { server->OpenFarsideAsset(cb, AssetRequest("c0000000-0000-4000-8000-000000000003")); });
  ASSERT_EQ(byId.first, 0);
  EXPECT_EQ(byId.second->GetName(), u"SD 720x480 29.97 lower field");
  auto byName = Await<Source>([&](auto cb) { server->OpenFarsideAsset(cb, AssetRequest("UHD 23.976")); });
  ASSERT_EQ(byName.first, 0);
  EXPECT_EQ(byName.second->GetID(), Guid("C0000000-0000-4000-8000-000000000005"));
  EXPECT_EQ(AwaitBlock(*MakeRenderer(*byName.second, 8, 8), RatioTime(0)).status, 0);
}

TEST_P(IpcServerRoadsTest, RemoteAssetFailuresAreStatuses) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  auto open = [&](FarsideAssetRequestInfo request) {
    return Await<Source>([&](auto cb) { server->OpenFarsideAsset(cb, request); });
  };
  EXPECT_EQ(open(AssetRequest("No such composition")).first, kConnectionStatusNotFound);
  auto versioned = AssetRequest("UHD 23.976");
  versioned.version = "7";  // the file's revision
  EXPECT_EQ(open(versioned).first, 0);
  versioned.version = "6";
  EXPECT_EQ(open(versioned).first, kConnectionStatusNotFound);
  auto unreachable = AssetRequest("UHD 23.976");
  unreachable.serverAddress.clear();
  EXPECT_EQ(open(unreachable).first, kConnectionStatusServerUnavailable);
  auto [status, source] = open(FarsideAssetRequestInfo{});
  EXPECT_NE(status, 0);
  EXPECT_FALSE(source);
}

// ---- XML export -----------------------------------------------------------

TEST_P(IpcServerRoadsTest, ItemsAsXMLDescribeTheNamedItemsWithTheirFolders) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  auto project = OpenExample(*server, "nested.marlp");
  ASSERT_TRUE(project);
  auto local = tetherserver::Project::Open(kExamples + "/nested.marlp");
  ASSERT_TRUE(local);
  const Guid preview("C0000000-0000-4000-8000-000000000004");
  const Guid versions("A0000000-0000-4000-8000-000000000002");
  auto state = [&](const char* id) { return (*local)->GetContentState(Guid(id)).AsUTF8String(); };

  auto [status, xml] =
      AwaitValue<std::string>([&](auto cb) { project->GetItemsAsXML(cb, std::vector<Guid>{preview, versions}); });
  ASSERT_EQ(status, 0);
  const std::string expected =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<tetherProject version=\"1\" file=\"" + kExamples + "/nested.marlp\">\n"
      "  <composition id=\"C0000000-0000-4000-8000-000000000004\" name=\"Preview 720p59.94\" width=\"1280\" "
      "height=\"720\" frameRate=\"60000/1001\" durationFrames=\"600\" contentState=\"" +
      state("C0000000-0000-4000-8000-000000000004") + "\" />\n"
      "  <folder id=\"A0000000-0000-4000-8000-000000000002\" name=\"Versions\">\n"
      "    <composition id=\"C0000000-0000-4000-8000-000000000002\" name=\"Vertical 1080x1920 30\" width=\"1080\" "
      "height=\"1920\" frameRate=\"30/1\" durationFrames=\"300\" contentState=\"" +
      state("C0000000-0000-4000-8000-000000000002") + "\" />\n"
      "    <composition id=\"C0000000-0000-4000-8000-000000000003\" name=\"SD 720x480 29.97 lower field\" "
      "width=\"720\" height=\"480\" frameRate=\"30000/1001\" durationFrames=\"150\" contentState=\"" +
      state("C0000000-0000-4000-8000-000000000003") + "\" />\n"
      "  </folder>\n"
      "</tetherProject>\n";
  EXPECT_EQ(xml, expected);

  auto [unknownStatus, unknownXml] = AwaitValue<std::string>(
      [&](auto cb) { project->GetItemsAsXML(cb, std::vector<Guid>{preview, Guid::CreateUnique()}); });
  EXPECT_EQ(unknownStatus, kConnectionStatusNotFound);
  EXPECT_TRUE(unknownXml.empty());
}

// ---- Captions -------------------------------------------------------------

TEST_P(IpcServerRoadsTest, CaptionsComeFromTheFileAndFollowTheClientsSelection) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  auto project = OpenExample(*server, "captioned.marlp");
  ASSERT_TRUE(project);
  auto [sourceStatus, source] =
      Await<Source>([&](auto cb) { project->GetSource(cb, Guid("CA000000-0000-4000-8000-000000000001")); });
  ASSERT_TRUE(source);

  auto [status, captions] = AwaitValue<CaptionData>([&](auto cb) { source->GetCaptionData(cb); });
  ASSERT_EQ(status, 0);
  EXPECT_EQ(captions.version, 1);
  EXPECT_EQ(captions.serializedData.rfind("1\n00:00:00,000 --> 00:00:02,000\nHello.", 0), 0u);
  ASSERT_EQ(captions.streams.size(), 3u);
  EXPECT_EQ(captions.streams[0], (CaptionStreamEntry{1, true, "English"}));
  EXPECT_EQ(captions.streams[2], (CaptionStreamEntry{7, false, "Français"}));

  CaptionSelectionData selection;
  selection.streamIndex = 2;
  auto [setStatus, accepted] =
      AwaitValue<bool>([&](auto cb) { source->SetCaptionSelectionData(selection, cb); });
  EXPECT_EQ(setStatus, 0);
  EXPECT_TRUE(accepted);
  auto [againStatus, again] = AwaitValue<CaptionData>([&](auto cb) { source->GetCaptionData(cb); });
  ASSERT_EQ(again.streams.size(), 3u);
  EXPECT_FALSE(again.streams[0].selected);
  EXPECT_TRUE(again.streams[2].selected);

  selection.streamIndex = 3;
  auto [badStatus, refused] = AwaitValue<bool>([&](auto cb) { source->SetCaptionSelectionData(selection, cb); });
  EXPECT_EQ(badStatus, 0);
  EXPECT_FALSE(refused);
}

TEST_P(IpcServerRoadsTest, ItemWithoutCaptionsGivesAnEmptyRecord) {
  auto server = ConnectMarl();
  ASSERT_TRUE(server);
  auto project = OpenExample(*server, "simple.marlp");
  ASSERT_TRUE(project);
  auto [sourceStatus, source] =
      Await<Source>([&](auto cb) { project->GetSource(cb, Guid("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01")); });
  ASSERT_TRUE(source);
  auto [status, captions] = AwaitValue<CaptionData>([&](auto cb) { source->GetCaptionData(cb); });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(captions, CaptionData{});
  CaptionSelectionData selection;
  auto [setStatus, accepted] = AwaitValue<bool>([&](auto cb) { source->SetCaptionSelectionData(selection, cb); });
  EXPECT_EQ(setStatus, 0);
  EXPECT_FALSE(accepted);
}

// ---- Fonts ----------------------------------------------------------------

TEST_P(IpcServerRoadsTest, SimulatedFontChangeMovesTheSyntheticFontValueAndRuntimeIdentifier) {
  // Project files answer from the machine's real fonts (IpcRefreshTest); the
  // synthetic project keeps the simulated font generation that SIGUSR1 moves.
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  auto project = chain.project;
  auto source = chain.source;

  auto fontValue = [&] { return AwaitValue<unsigned int>([&](auto cb) { project->RuntimeFontChange(cb); }); };
  auto runtime = [&] { return AwaitValue<Guid>([&](auto cb) { source->GetRuntimeGuid(cb); }); };
  // No change yet: the same value every time, the one a client starts from.
  EXPECT_EQ(fontValue(), std::make_pair(0, 1u));
  EXPECT_EQ(fontValue(), std::make_pair(0, 1u));
  auto [before, beforeId] = runtime();
  ASSERT_EQ(before, 0);
  EXPECT_FALSE(beforeId.IsNil());
  EXPECT_EQ(runtime().second, beforeId);

  SimulateFontChange();
  // A signal reaches a server process when it does: ask until it shows.
  auto deadline = std::chrono::steady_clock::now() + kWait;
  std::pair<int, unsigned int> after = fontValue();
  while (after.second == 1u && std::chrono::steady_clock::now() < deadline) {
    after = fontValue();
  }
  EXPECT_EQ(after, std::make_pair(0, 2u));
  auto [afterStatus, afterId] = runtime();
  EXPECT_EQ(afterStatus, 0);
  EXPECT_NE(afterId, beforeId);
  EXPECT_FALSE(afterId.IsNil());
}

INSTANTIATE_TEST_SUITE_P(Roads, IpcServerRoadsTest, ::testing::Values(Mode::kInProcess, Mode::kChildProcess),
                         [](const auto& info) { return info.param == Mode::kInProcess ? "InProcess" : "ChildProcess"; });

}  // namespace
}  // namespace tether::ipctest
