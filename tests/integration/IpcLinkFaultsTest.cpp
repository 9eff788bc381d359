#include "IpcTestSupport.h"

#include <ServerProcessInProcess.h>

#include <tether/ServerFailure.h>
#include <tether/ipc/IpcBackend.h>
#include <tether/wire/Channel.h>
#include <tether/wire/Protocol.h>
#include <tether/wire/RecordCodec.h>
#include <tether/wire/TreeAccess.h>

#include <kilncore/logging/ScopedLogCapture.h>
#include <kilnmediatypes/PixelFormat.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

namespace tether::ipctest {
namespace {

using namespace tether::wire;
using kilncore::utility::Guid;

// Sends one request on a raw channel and returns the reply.
Message Ask(Channel& channel, uint64_t id, const std::string& op, AnyObject body) {
  Message request;
  request.kind = MessageKind::kRequest;
  request.id = id;
  request.op = op;
  request.body = MakeAny(std::move(body));
  channel.Send(request);
  for (;;) {
    auto message = channel.Receive();
    if (!message) {
      ADD_FAILURE() << "connection closed before the reply to " << op;
      return {};
    }
    if (message->kind == MessageKind::kReply && message->id == id) {
      return std::move(*message);
    }
  }
}

std::string MessageOf(const Message& reply) {
  const auto* body = reply.body ? std::any_cast<AnyObject>(reply.body.get()) : nullptr;
  if (!body || !body->count("message")) {
    return {};
  }
  return AsString(body->at("message"));
}

AnyObject Hello() { return {{"protocol", MakeAny(kProtocolVersion)}, {"client", MakeAny(std::string("test"))}}; }

TEST(IpcSessionAdmissionTest, RequestBeforeHelloIsRefusedWithItsReason) {
  tetherserver::InProcessServer server;
  Channel channel(server.Connect());
  Message reply = Ask(channel, 1, "server.create",
                      {{"application", MakeAny(std::string("Marl"))}, {"connectionType", MakeAny(0u)}});
  EXPECT_EQ(reply.status, kStatusBadMessage);
  EXPECT_NE(MessageOf(reply).find("before \"hello\""), std::string::npos);
  EXPECT_EQ(Ask(channel, 2, "hello", Hello()).status, kStatusOK);
  EXPECT_EQ(Ask(channel, 3, "server.create",
                {{"application", MakeAny(std::string("Marl"))}, {"connectionType", MakeAny(0u)}})
                .status,
            kStatusOK);
}

TEST(IpcSessionAdmissionTest, UnknownOperationIsNotSupportedWhateverItsHandle) {
  tetherserver::InProcessServer server;
  Channel channel(server.Connect());
  ASSERT_EQ(Ask(channel, 1, "hello", Hello()).status, kStatusOK);
  Message reply = Ask(channel, 2, "source.bogus", {{"handle", MakeAny(uint64_t{999})}});
  EXPECT_EQ(reply.status, kStatusNotSupported);
  EXPECT_NE(MessageOf(reply).find("source.bogus"), std::string::npos);
}

TEST(IpcSessionAdmissionTest, PongListsTheRequestsTheServerStillHolds) {
  tetherserver::InProcessServer server;
  Channel channel(server.Connect());
  ASSERT_EQ(Ask(channel, 1, "hello", Hello()).status, kStatusOK);
  Message ping;
  ping.op = "ping";
  ping.body = MakeAny(AnyObject{{"ping", MakeAny(uint64_t{7})}});
  channel.Send(ping);
  auto pong = channel.Receive();
  ASSERT_TRUE(pong);
  EXPECT_EQ(pong->op, "pong");
  const AnyObject& body = AsObject(pong->body);
  EXPECT_EQ(AsUint64(Field(body, "ping")), 7u);
  EXPECT_TRUE(AsArray(Field(body, "held")).empty());  // the hello was answered before
}

// A stand-in server that walks a client to a renderer and then does with its
// renders and pings what each test says.
class ScriptedPeer {
 public:
  using RenderHandler = std::function<void(Channel&, const Message&)>;
  // The "held" list of the pong to ping number `ping`; nullopt: no list.
  using HeldList = std::function<std::optional<std::vector<uint64_t>>(uint64_t ping, uint64_t pendingRender)>;

  ScriptedPeer(RenderHandler onRender, HeldList held) : mOnRender(std::move(onRender)), mHeld(std::move(held)) {}
  ~ScriptedPeer() {
    if (mChannel) {
      mChannel->Shutdown();
    }
    if (mThread.joinable()) {
      mThread.join();
    }
  }

  UniqueFd Connect() {
    auto [client, server] = MakeSocketPair();
    mChannel = std::make_unique<Channel>(std::move(server));
    mThread = std::thread([this] { Serve(); });
    return std::move(client);
  }

  std::vector<uint32_t> ReleasedBuffers() {
    std::lock_guard lock(mMutex);
    return mReleased;
  }

 private:
  void Serve() {
    try {
      while (auto message = mChannel->Receive()) {
        if (message->kind == MessageKind::kRequest) {
          Respond(*message);
        } else if (message->op == "ping") {
          Pong(*message);
        } else if (message->op == "buffer.release") {
          std::lock_guard lock(mMutex);
          mReleased.push_back(AsUint32(Field(AsObject(message->body), "buffer")));
        }
      }
    } catch (...) {
    }
  }

  void Pong(const Message& ping) {
    const uint64_t number = AsUint64(Field(AsObject(ping.body), "ping"));
    AnyObject body{{"ping", MakeAny(number)}};
    if (auto held = mHeld(number, mPendingRender)) {
      AnyArray ids;
      for (uint64_t id : *held) {
        ids.push_back(MakeAny(id));
      }
      body["held"] = MakeAny(std::move(ids));
    }
    Message pong;
    pong.op = "pong";
    pong.body = MakeAny(std::move(body));
    mChannel->Send(pong);
  }

  void Respond(const Message& request) {
    const std::string& op = request.op;
    if (op == "hello") {
      AnswerRequest(*mChannel, request, {{"protocol", MakeAny(kProtocolVersion)}});
    } else if (op == "server.create" || op == "typed.connect-linked-server" || op == "source.get-video-renderer") {
      AnswerRequest(*mChannel, request, {{"handle", MakeAny(uint64_t{1})}});
    } else if (op == "server.open-project") {
      AnswerRequest(*mChannel, request,
             {{"handle", MakeAny(uint64_t{2})}, {"file", ToTree(File(u"/p"))}, {"missingAssets", ToTree(MissingAssets{})}});
    } else if (op == "project.get-source") {
      AnswerRequest(*mChannel, request, {{"handle", MakeAny(uint64_t{3})}, {"info", ToTree(SourceInfo{})}});
    } else if (op == "video-renderer.render") {
      mPendingRender = request.id;
      mOnRender(*mChannel, request);
    } else {
      AnswerRequest(*mChannel, request, {}, {}, kStatusNotSupported);
    }
  }

  RenderHandler mOnRender;
  HeldList mHeld;
  uint64_t mPendingRender = 0;  // the reader thread's own
  std::mutex mMutex;
  std::vector<uint32_t> mReleased;
  std::unique_ptr<Channel> mChannel;
  std::thread mThread;
};

ipc::IpcBackendOptions FastHeartbeat() {
  ipc::IpcBackendOptions options;
  options.heartbeatInterval = std::chrono::milliseconds(50);
  options.heartbeatTimeout = std::chrono::milliseconds(5000);
  return options;
}

Block RenderThrough(ScriptedPeer& peer) {
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return peer.Connect(); }, FastHeartbeat());
  Chain chain = OpenItem(*backend, Guid::CreateUnique());
  if (!chain.source) {
    return {};
  }
  auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { chain.source->GetVideoRenderer(cb, {}); });
  if (!renderer) {
    return {};
  }
  return AwaitBlock(*renderer, RatioTime(0));
}

TEST(IpcLostRequestTest, RequestTheServerNeverGotFailsWithTheLostStatus) {
  ClearLastServerFailure();
  ScriptedPeer peer([](Channel&, const Message&) {},  // dropped on the way
                    [](uint64_t, uint64_t) { return std::vector<uint64_t>{}; });
  Block block = RenderThrough(peer);
  EXPECT_EQ(block.status, kStatusRequestLost);
  EXPECT_FALSE(block.data);
  auto failure = LastServerFailure();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->operation, "video-renderer.render");
  EXPECT_NE(failure->message.find("never received"), std::string::npos);
}

// Renders through a peer that keeps the render unanswered through four
// pongs, each listing what `held` says for it, and answers it with `status`
// just before the fifth. The client reads them in that order, so the render's
// callback shows whether any of those pongs made it give up.
int RenderAnsweredAfterFourPongs(std::function<std::optional<std::vector<uint64_t>>(uint64_t render)> held,
                                 int32_t status) {
  int pongs = 0;  // both handlers run on the peer's one thread
  Channel* channel = nullptr;
  Message render;
  ScriptedPeer peer(
      [&](Channel& c, const Message& request) {
        channel = &c;
        render.id = request.id;
      },
      [&](uint64_t, uint64_t pending) -> std::optional<std::vector<uint64_t>> {
        if (pending == 0) {
          return std::vector<uint64_t>{};
        }
        if (++pongs == 5) {
          AnswerRequest(*channel, render, {}, {}, status);
          return std::vector<uint64_t>{};
        }
        return held(pending);
      });
  return RenderThrough(peer).status;
}

TEST(IpcLostRequestTest, RequestTheServerHoldsWaitsForItsAnswer) {
  EXPECT_EQ(RenderAnsweredAfterFourPongs([](uint64_t render) { return std::vector<uint64_t>{render}; },
                                         kStatusFailed),
            kStatusFailed);
}

TEST(IpcLostRequestTest, RenderWhoseCancelNeverReachedTheServerEndsCancelledAndItsLateFrameGoesBack) {
  // The peer keeps the render held through every pong and never reads the
  // cancel, as a server does when the cancel is lost on the way. Once the
  // client has given the render up, the peer answers it with a frame after
  // all, which nobody wants any more.
  Channel* channel = nullptr;  // the peer thread's own, as are the two below
  Message render;
  bool answered = false;
  std::atomic<bool> givenUp{false};
  ScriptedPeer peer(
      [&](Channel& c, const Message& request) {
        channel = &c;
        render.id = request.id;
      },
      [&](uint64_t, uint64_t pending) -> std::optional<std::vector<uint64_t>> {
        if (pending == 0 || answered) {
          return std::vector<uint64_t>{};
        }
        if (!givenUp) {
          return std::vector<uint64_t>{pending};
        }
        answered = true;
        UniqueFd memory(::memfd_create("late-frame", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        EXPECT_EQ(::ftruncate(memory.Get(), 4096), 0);
        EXPECT_EQ(::fcntl(memory.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL), 0);
        std::vector<UniqueFd> sent;
        sent.push_back(std::move(memory));
        AnswerRequest(*channel, render,
                      {{"buffer", MakeAny(7u)},
                       {"capacity", MakeAny(uint64_t{4096})},
                       {"size", MakeAny(uint64_t{4096})},
                       {"keep", MakeAny(true)}},
                      std::move(sent));
        return std::vector<uint64_t>{};
      });
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return peer.Connect(); }, FastHeartbeat());
  Chain chain = OpenItem(*backend, Guid::CreateUnique());
  ASSERT_TRUE(chain.source);
  auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { chain.source->GetVideoRenderer(cb, {}); });
  ASSERT_TRUE(renderer);

  auto ended = std::make_shared<std::promise<Block>>();
  auto future = ended->get_future();
  const Guid job = Guid::CreateUnique();
  renderer->RenderVideo([ended](const Guid&, const BlockData& data, int s) { ended->set_value(Block{s, data}); }, job,
                        RatioTime(0));
  renderer->CancelVideoRender(job);
  ASSERT_EQ(future.wait_for(kWait), std::future_status::ready) << "the cancelled render never ended";
  const Block block = future.get();
  EXPECT_EQ(block.status, kStatusRenderCancelled);
  EXPECT_FALSE(block.data);

  givenUp = true;
  const auto deadline = std::chrono::steady_clock::now() + kWait;
  while (peer.ReleasedBuffers().empty() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(peer.ReleasedBuffers(), std::vector<uint32_t>{7u});
}

TEST(IpcLostRequestTest, PongWithoutAListJudgesNothing) {
  EXPECT_EQ(RenderAnsweredAfterFourPongs([](uint64_t) { return std::nullopt; }, kStatusNotFound), kStatusNotFound);
}

TEST(IpcRefusedBufferTest, BufferTheClientRefusesIsHandedBackToTheServer) {
  kilncore::logging::ScopedLogCapture quiet;
  ScriptedPeer peer(
      [](Channel& channel, const Message& request) {
        UniqueFd memory(::memfd_create("unsealed", MFD_CLOEXEC));
        ASSERT_EQ(::ftruncate(memory.Get(), 4096), 0);
        std::vector<UniqueFd> sent;
        sent.push_back(std::move(memory));
        AnswerRequest(channel, request,
                             {{"buffer", MakeAny(41u)},
                              {"capacity", MakeAny(uint64_t{4096})},
                              {"size", MakeAny(uint64_t{4096})},
                              {"keep", MakeAny(true)}},
                             std::move(sent));
      },
      [](uint64_t, uint64_t) { return std::nullopt; });
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return peer.Connect(); }, FastHeartbeat());
  Chain chain = OpenItem(*backend, Guid::CreateUnique());
  ASSERT_TRUE(chain.source);
  auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { chain.source->GetVideoRenderer(cb, {}); });
  ASSERT_TRUE(renderer);
  EXPECT_EQ(AwaitBlock(*renderer, RatioTime(0)).status, kStatusBadMessage);
  // The client sent the release while refusing, before the render's
  // callback; the peer has read it once it answers the next request.
  auto [again, second] = Await<VideoRenderer>([&](auto cb) { chain.source->GetVideoRenderer(cb, {}); });
  EXPECT_EQ(again, 0);
  EXPECT_EQ(peer.ReleasedBuffers(), std::vector<uint32_t>{41u});
}

TEST(IpcRefusedBufferTest, FrameBeyondTheClientsLimitIsRefusedBeforeTheServerAllocatesIt) {
  ClearLastServerFailure();
  tetherserver::InProcessServer server;
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return server.Connect(); });
  auto [typedStatus, typed] =
      Await<MarlServer>([&](auto cb) { backend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  ASSERT_TRUE(typed);
  auto [serverStatus, linked] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
  ASSERT_TRUE(linked);
  const std::string path = TETHER_TEST_EXAMPLES_FOLDER "/simple.marlp";
  auto [projectStatus, project] = Await<Project>(
      [&](auto cb) { linked->OpenProject(cb, File(kilncore::WideString(path.begin(), path.end()))); });
  ASSERT_TRUE(project);
  auto [sourceStatus, source] =
      Await<Source>([&](auto cb) { project->GetSource(cb, Guid("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01")); });
  ASSERT_TRUE(source);
  VideoRenderOptions huge;
  huge.SetBounds(16384, 16384);
  huge.SetPixelFormats({{kilnmediatypes::MakeFourCC('R', 'G', 'B', 'F'), 0}});
  auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { source->GetVideoRenderer(cb, huge); });
  EXPECT_EQ(status, kStatusTooLarge);
  EXPECT_FALSE(renderer);
  auto failure = LastServerFailure();
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->message.find("larger than the 2048 MiB the client maps"), std::string::npos)
      << failure->message;
}

}  // namespace
}  // namespace tether::ipctest
