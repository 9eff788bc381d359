#include "IpcTestSupport.h"

#include <ServerProcessInProcess.h>
#include <SessionSyntheticContent.h>
#include <server/project/Project.h>
#include <server/render/AudioSynthesizer.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <tether/AudioRenderer.h>
#include <tether/Container.h>
#include <tether/VideoRenderer.h>
#include <tether/ipc/IpcBackend.h>

#include <kilncore/logging/Log.h>
#include <kilncore/logging/LogRecord.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <mutex>
#include <cstring>
#include <set>
#include <thread>

namespace tether::ipctest {
namespace {

using tetherserver::SessionSyntheticContent;
using kilncore::utility::Guid;

enum class Mode { kInProcess, kChildProcess };

// The same tests over both roads to a server.
class IpcLinkTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    mInProcess = std::make_unique<tetherserver::InProcessServer>();
    mBackend = MakeBackend({});
  }

  std::shared_ptr<ipc::IpcBackend> MakeBackend(ipc::IpcBackendOptions options) {
    if (GetParam() == Mode::kInProcess) {
      return ipc::IpcBackend::CreateWithConnector([this] { return mInProcess->Connect(); }, options);
    }
    options.serverExecutable = TETHER_TEST_SERVER_EXECUTABLE;
    return ipc::IpcBackend::Create(options);
  }
  void TearDown() override {
    mBackend.reset();
    mInProcess.reset();
  }

  std::shared_ptr<VideoRenderer> MakeRenderer(Source& source, int width, int height) {
    VideoRenderOptions options;
    options.SetBounds(width, height);
    options.SetPixelFormats({{0x41524742, 0}});
    auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { source.GetVideoRenderer(cb, options); });
    EXPECT_EQ(status, 0);
    return renderer;
  }

  static void ExpectFrame(const Block& block, int64_t frame, uint32_t width, uint32_t height) {
    ASSERT_EQ(block.status, 0);
    ASSERT_TRUE(block.data);
    ASSERT_EQ(block.data->GetSize(), size_t{width} * height * 4);
    auto* bytes = static_cast<const uint8_t*>(block.data->GetAddress());
    ASSERT_NE(bytes, nullptr);
    size_t mismatches = 0;
    for (uint32_t y = 0; y < height; ++y) {
      for (uint32_t x = 0; x < width; ++x) {
        for (uint32_t c = 0; c < 4; ++c) {
          mismatches += bytes[(size_t{y} * width + x) * 4 + c] != SessionSyntheticContent::ExpectedByte(frame, x, y, c);
        }
      }
    }
    block.data->ReleaseAddress();
    EXPECT_EQ(mismatches, 0u) << "frame " << frame;
  }

  std::unique_ptr<tetherserver::InProcessServer> mInProcess;
  std::shared_ptr<ipc::IpcBackend> mBackend;
};

TEST_P(IpcLinkTest, OpensTheItemAndDescribesIt) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  EXPECT_EQ(chain.source->GetID(), SessionSyntheticContent::kItemID);
  EXPECT_EQ(chain.source->GetName(), u"Synthetic");
  EXPECT_EQ(chain.source->GetFrameSize(), (FrameRect{0, 0, 320, 180}));
  EXPECT_EQ(chain.source->GetDuration(), RatioTime(10, 1));
  EXPECT_TRUE(chain.source->HasAudio());
  EXPECT_EQ(chain.source->GetAudioChannelLayout().size(), 2u);
  EXPECT_EQ(chain.project->GetFile().FullPath(), u"/projects/test.synthetic");

  auto [containerStatus, container] = Await<Container>([&](auto cb) { chain.project->GetContainer(cb, Guid()); });
  ASSERT_EQ(containerStatus, 0);
  ASSERT_EQ(container->GetContainedItems().size(), 2u);
  EXPECT_EQ(container->GetContainedItems()[0].id, SessionSyntheticContent::kItemID);
}

TEST_P(IpcLinkTest, RendersFramesWhoseBytesAreTheServers) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  auto renderer = MakeRenderer(*chain.source, 64, 48);
  ASSERT_TRUE(renderer);
  for (int64_t frame : {0, 7, 249}) {
    ExpectFrame(AwaitBlock(*renderer, RatioTime(frame, 25)), frame, 64, 48);
  }
}

TEST_P(IpcLinkTest, SteadyRenderingReusesOneBufferWithoutMappingAgain) {
  // One callback thread, so that a round trip's callback comes after the
  // library has let go of the previous frame (and so sent its release).
  ipc::IpcBackendOptions options;
  options.callbackThreads = 1;
  mBackend = MakeBackend(options);
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  auto renderer = MakeRenderer(*chain.source, 320, 180);
  ASSERT_TRUE(renderer);
  std::set<const void*> addresses;
  for (int64_t frame = 0; frame < 30; ++frame) {
    Block block = AwaitBlock(*renderer, RatioTime(frame, 25));
    ASSERT_EQ(block.status, 0);
    addresses.insert(block.data->GetAddress());
    block.data->ReleaseAddress();
    block.data.reset();
    auto [status, container] = Await<Container>([&](auto cb) { chain.project->GetContainer(cb, Guid()); });
    ASSERT_EQ(status, 0);
  }
  // Every frame came in the same mapping: the buffer went back to the server
  // and came again without a descriptor, an mmap or a munmap.
  EXPECT_EQ(addresses.size(), 1u);
}

TEST_P(IpcLinkTest, ReadsAudioBlocksInOrder) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  AudioRenderOptions options;
  options.SetAudioChannelLayout(chain.source->GetAudioChannelLayout());
  options.SetSampleRate(chain.source->GetAudioSampleRate());
  auto [status, reader] = Await<AudioRenderer>(
      [&](auto cb) { chain.source->GetAudioRenderer(cb, options, RatioTime(1, 2), 2 * 480); });
  ASSERT_EQ(status, 0);
  int64_t next = 24000;
  for (int block = 0; block < 3; ++block) {
    Block data = AwaitBlock(*reader);
    ASSERT_EQ(data.status, 0);
    ASSERT_EQ(data.data->GetSize(), 480u * 2 * sizeof(float));
    auto* samples = static_cast<const float*>(data.data->GetAddress());
    for (int i = 0; i < 480; ++i) {
      for (uint32_t c = 0; c < 2; ++c) {
        ASSERT_EQ(samples[i * 2 + c], SessionSyntheticContent::ExpectedSample(next + i, c));
      }
    }
    data.data->ReleaseAddress();
    next += 480;
  }
}

TEST_P(IpcLinkTest, RendersFromSeveralThreadsAtOnce) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  auto renderer = MakeRenderer(*chain.source, 32, 16);
  ASSERT_TRUE(renderer);
  constexpr int kThreads = 4;
  constexpr int kFrames = 15;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kFrames; ++i) {
        int64_t frame = t * kFrames + i;
        ExpectFrame(AwaitBlock(*renderer, RatioTime(frame, 25)), frame, 32, 16);
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
}

TEST_P(IpcLinkTest, CarriesTheSourcesOtherRequests) {
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  std::promise<AnyValue> replied;
  chain.source->SendRequest(
      std::any(AnyObject{{"name", MakeAny(std::string("com.example.Ping"))}}),
      [&](std::shared_ptr<std::any> reply, int64_t) { replied.set_value(reply); },
      [&](int, const kilncore::WideString&, int64_t) { replied.set_value(nullptr); });
  auto reply = replied.get_future().get();
  ASSERT_TRUE(reply);
  const auto& echo = std::any_cast<const AnyObject&>(*std::any_cast<const AnyObject&>(*reply).at("echo"));
  EXPECT_EQ(std::any_cast<std::string>(*echo.at("name")), "com.example.Ping");

  std::promise<int> failed;
  chain.source->SendRequest(
      AnyObject{{"fail", MakeAny(true)}}, [&](std::shared_ptr<std::any>, int64_t) { failed.set_value(0); },
      [&](int code, const kilncore::WideString&, int64_t) { failed.set_value(code); });
  EXPECT_EQ(failed.get_future().get(), 7);

  std::promise<std::pair<int, bool>> linked;
  chain.source->DoesSourceContainLink([&](ConnectionStatus s, bool v) { linked.set_value({s, v}); });
  EXPECT_EQ(linked.get_future().get(), std::make_pair(0, false));
  std::promise<int> xmp;
  chain.source->RenderXMP(RatioTime(0), RatioTime(1), [&](ConnectionStatus s, const std::string&) { xmp.set_value(s); });
  EXPECT_EQ(xmp.get_future().get(), 0);
  std::promise<Guid> init;
  SourceInfo patched = chain.source->GetSourceInfo();
  patched.width = 100;
  chain.source->Init(patched, [&](const Guid& id) { init.set_value(id); });
  EXPECT_EQ(init.get_future().get(), SessionSyntheticContent::kItemID);
  EXPECT_EQ(chain.source->GetFrameSize().right, 100);
}

// The reference server serves every owning application, so a server of the
// synthetic content alone (Marl only) stands for one that lacks Sprocket.
TEST(IpcLinkWithoutAnApplicationTest, UnsupportedApplicationFailsItsCallbackOnce) {
  tetherserver::InProcessServer server(std::make_shared<tetherserver::SessionSyntheticContent>(), {});
  auto backend = ipc::IpcBackend::CreateWithConnector([&server] { return server.Connect(); });
  std::atomic<int> calls{0};
  auto [status, typed] = Await<SprocketServer>([&](auto cb) {
    backend->CreateSprocketServer(
        [cb, &calls](ConnectionStatus s, const std::shared_ptr<SprocketServer>& t) {
          ++calls;
          cb(s, t);
        },
        kServerConnectionTypeDefault);
  });
  EXPECT_NE(status, 0);
  EXPECT_FALSE(typed);
  EXPECT_EQ(calls.load(), 1);
  typed.reset();
  backend.reset();
}

TEST_P(IpcLinkTest, ExceptionFromAHostCallbackIsLoggedAndTheLinkGoesOn) {
  // The library logs after the callback has thrown, on its own thread: the
  // test waits for that entry, not for the callback.
  std::mutex mutex;
  size_t logged = 0;
  std::promise<void> firstLogged;
  auto previous = kilncore::logging::SetLogSinkForTesting([&](const kilncore::logging::LogRecord& record) {
    std::lock_guard lock(mutex);
    if (record.context == "tether::ipc callback" && ++logged == 1) {
      firstLogged.set_value();
    }
  });
  mBackend->CreateMarlServer(
      [&](ConnectionStatus, const std::shared_ptr<MarlServer>&) { throw std::runtime_error("host bug"); },
      kServerConnectionTypeDefault);
  firstLogged.get_future().wait();
  Chain chain = OpenItem(*mBackend, SessionSyntheticContent::kItemID);
  EXPECT_TRUE(chain.source);
  kilncore::logging::SetLogSinkForTesting(std::move(previous));
  std::lock_guard lock(mutex);
  EXPECT_EQ(logged, 1u);
}

TEST_P(IpcLinkTest, ServesARealProjectFileWithTheRenderersBytes) {
  const std::string path = TETHER_TEST_EXAMPLES_FOLDER "/simple.marlp";
  auto local = tetherserver::Project::Open(path);
  ASSERT_TRUE(local);
  const Guid id("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
  const auto* composition = (*local)->FindComposition(id);
  ASSERT_NE(composition, nullptr);

  auto [typedStatus, typed] =
      Await<MarlServer>([&](auto cb) { mBackend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  ASSERT_TRUE(typed);
  auto [serverStatus, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
  ASSERT_TRUE(server);
  auto [projectStatus, project] = Await<Project>(
      [&](auto cb) { server->OpenProject(cb, File(kilncore::WideString(path.begin(), path.end()))); });
  ASSERT_EQ(projectStatus, 0);
  auto [sourceStatus, source] = Await<Source>([&](auto cb) { project->GetSource(cb, id); });
  ASSERT_EQ(sourceStatus, 0);
  EXPECT_EQ(source->GetSourceInfo(), *(*local)->DescribeSource(id));

  VideoRenderOptions options;
  options.SetBounds(480, 270);
  auto [rendererStatus, renderer] = Await<VideoRenderer>([&](auto cb) { source->GetVideoRenderer(cb, options); });
  ASSERT_TRUE(renderer);
  Block block = AwaitBlock(*renderer, RatioTime(12, 25));
  ASSERT_EQ(block.status, 0);
  auto settings = tetherserver::RenderSettings::Resolve(*composition, options);
  ASSERT_TRUE(settings);
  std::vector<unsigned char> expected(settings->FrameBytes());
  ASSERT_FALSE(tetherserver::FrameRenderer::Render(*composition, RatioTime(12, 25), *settings,
                                                   settings->MakeBuffer(expected.data()))
                   .IsError());
  ASSERT_EQ(block.data->GetSize(), expected.size());
  EXPECT_EQ(std::memcmp(block.data->GetAddress(), expected.data(), expected.size()), 0);
  block.data->ReleaseAddress();

  AudioRenderOptions audio;
  audio.SetAudioChannelLayout(source->GetAudioChannelLayout());
  audio.SetSampleRate(source->GetAudioSampleRate());
  auto [readerStatus, reader] =
      Await<AudioRenderer>([&](auto cb) { source->GetAudioRenderer(cb, audio, RatioTime(1), 2 * 256); });
  ASSERT_TRUE(reader);
  Block samples = AwaitBlock(*reader);
  ASSERT_EQ(samples.status, 0);
  ASSERT_EQ(samples.data->GetSize(), 256u * 2 * sizeof(float));
  const auto* values = static_cast<const float*>(samples.data->GetAddress());
  for (int i = 0; i < 256; ++i) {
    for (uint32_t c = 0; c < 2; ++c) {
      ASSERT_EQ(values[i * 2 + c], tetherserver::AudioSynthesizer::ExpectedSample(*composition, 48000, 48000 + i, c));
    }
  }
  samples.data->ReleaseAddress();
}

INSTANTIATE_TEST_SUITE_P(Roads, IpcLinkTest, ::testing::Values(Mode::kInProcess, Mode::kChildProcess),
                         [](const auto& info) { return info.param == Mode::kInProcess ? "InProcess" : "ChildProcess"; });

}  // namespace
}  // namespace tether::ipctest
