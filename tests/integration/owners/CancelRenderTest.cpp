// A cancelled render really stops on the server: with one worker per
// connection, a frame of a minute-long scene that is cancelled frees the
// worker for the next frame at once, and its own callback comes exactly once,
// with the cancelled status.

#include <integration/IpcTestSupport.h>
#include <integration/ServerModes.h>

#include <tether/Container.h>
#include <tether/SprocketServer.h>
#include <tether/VideoRenderOptions.h>

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>

namespace tether::ipctest {
namespace {

using kilncore::utility::Guid;

constexpr int kCancelled = -6;
const std::string kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const Guid kHeavy("07FBE01A-AF1D-45C6-86F8-7401816D30CD");
const Guid kShot("CA012DDA-1BBD-4C6A-B7A5-C9E520FDABEF");

class CancelRenderTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    // One worker: a frame still being drawn would hold up every other one.
    tetherserver::Session::Options options;
    options.workerThreads = 1;
    mInProcess = std::make_unique<tetherserver::InProcessServer>(options);
    if (GetParam() == Mode::kInProcess) {
      mBackend = ipc::IpcBackend::CreateWithConnector([this] { return mInProcess->Connect(); });
    } else {
      ipc::IpcBackendOptions child;
      child.serverExecutable = TETHER_TEST_SERVER_EXECUTABLE;
      child.serverArguments = {"--workers", "1"};
      mBackend = ipc::IpcBackend::Create(child);
    }
    auto [typedStatus, typed] =
        Await<SprocketServer>([&](auto cb) { mBackend->CreateSprocketServer(cb, kServerConnectionTypeDefault); });
    ASSERT_EQ(typedStatus, 0);
    mTyped = typed;
    auto [status, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
    ASSERT_EQ(status, 0);
    mServer = server;
  }
  void TearDown() override {
    mServer.reset();
    mTyped.reset();
    mBackend.reset();
    mInProcess.reset();
  }

  std::shared_ptr<VideoRenderer> Renderer(const std::string& file, const Guid& id) {
    const std::string path = kExamples + "/" + file;
    auto [projectStatus, project] = Await<Project>(
        [&](auto cb) { mServer->OpenProject(cb, File(kilncore::string::UTF8to16(path), false)); });
    EXPECT_EQ(projectStatus, 0) << file;
    if (!project) return nullptr;
    mProjects.push_back(project);
    auto [sourceStatus, source] = Await<Source>([&](auto cb) { project->GetSource(cb, id); });
    EXPECT_EQ(sourceStatus, 0);
    if (!source) return nullptr;
    mSources.push_back(source);
    auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { source->GetVideoRenderer(cb, VideoRenderOptions()); });
    EXPECT_EQ(status, 0);
    return renderer;
  }

  std::unique_ptr<tetherserver::InProcessServer> mInProcess;
  std::shared_ptr<ipc::IpcBackend> mBackend;
  std::shared_ptr<SprocketServer> mTyped;
  std::shared_ptr<Server> mServer;
  std::vector<std::shared_ptr<Project>> mProjects;
  std::vector<std::shared_ptr<Source>> mSources;
};

TEST_P(CancelRenderTest, CancelledSlowFrameFreesTheWorkerAndIsAnsweredOnce) {
  auto heavy = Renderer("heavy.spkscene", kHeavy);
  auto shot = Renderer("shot.spkproj", kShot);
  ASSERT_TRUE(heavy);
  ASSERT_TRUE(shot);
  std::atomic<int> calls{0};
  auto answered = std::make_shared<std::promise<int>>();
  const Guid job = Guid::CreateUnique();
  heavy->RenderVideo(
      [&calls, answered](const Guid&, const BlockData& data, int status) {
        if (++calls == 1) answered->set_value(data ? 0 : status);
      },
      job, RatioTime(0));
  // Queued behind the minute-long frame on the one worker; it is drawn in
  // time only if the cancel below stops that frame.
  auto next = std::make_shared<std::promise<Block>>();
  shot->RenderVideo([next](const Guid&, const BlockData& data, int status) { next->set_value(Block{status, data}); },
                    Guid::CreateUnique(), RatioTime(1, 25));
  heavy->CancelVideoRender(job);

  auto cancelled = answered->get_future();
  ASSERT_EQ(cancelled.wait_for(kWait), std::future_status::ready);
  EXPECT_EQ(cancelled.get(), kCancelled);
  auto following = next->get_future();
  ASSERT_EQ(following.wait_for(kWait), std::future_status::ready) << "the cancelled frame kept the worker";
  const Block block = following.get();
  EXPECT_EQ(block.status, 0);
  EXPECT_TRUE(block.data);
  // One more round trip through the worker: a late answer of the cancelled
  // frame would have come before it.
  const Block after = AwaitBlock(*shot, RatioTime(2, 25));
  EXPECT_EQ(after.status, 0);
  EXPECT_EQ(calls.load(), 1);
}

TEST_P(CancelRenderTest, CancelOfAFrameAlreadyDeliveredChangesNothing) {
  auto shot = Renderer("shot.spkproj", kShot);
  ASSERT_TRUE(shot);
  std::atomic<int> calls{0};
  auto answered = std::make_shared<std::promise<int>>();
  const Guid job = Guid::CreateUnique();
  shot->RenderVideo(
      [&calls, answered](const Guid&, const BlockData&, int status) {
        if (++calls == 1) answered->set_value(status);
      },
      job, RatioTime(0));
  auto delivered = answered->get_future();
  ASSERT_EQ(delivered.wait_for(kWait), std::future_status::ready);
  EXPECT_EQ(delivered.get(), 0);
  shot->CancelVideoRender(job);
  EXPECT_EQ(AwaitBlock(*shot, RatioTime(3, 25)).status, 0);
  EXPECT_EQ(calls.load(), 1);
}

INSTANTIATE_TEST_SUITE_P(Modes, CancelRenderTest, ::testing::Values(Mode::kInProcess, Mode::kChildProcess),
                         [](const auto& info) {
                           return info.param == Mode::kInProcess ? std::string("InProcess") : "ChildProcess";
                         });

}  // namespace
}  // namespace tether::ipctest
