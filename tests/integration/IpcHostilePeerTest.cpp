#include "IpcTestSupport.h"

#include <tether/ipc/IpcBackend.h>
#include <tether/wire/Channel.h>
#include <tether/wire/FrameReader.h>
#include <tether/wire/RecordCodec.h>
#include <tether/wire/SharedBuffer.h>
#include <tether/wire/TreeAccess.h>

#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <functional>
#include <thread>

namespace tether::ipctest {
namespace {

using namespace tether::wire;
using kilncore::utility::Guid;

// A server that answers the road to a renderer properly and then misbehaves as
// each test scripts it.
class HostilePeer {
 public:
  using Misdeed = std::function<void(Channel&, const Message& request)>;

  explicit HostilePeer(Misdeed onRender, Misdeed onCreate = nullptr)
      : mOnRender(std::move(onRender)), mOnCreate(std::move(onCreate)) {}
  ~HostilePeer() {
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

  static void Answer(Channel& channel, const Message& request, AnyObject body, std::vector<UniqueFd> fds = {},
                     int32_t status = 0) {
    AnswerRequest(channel, request, std::move(body), std::move(fds), status);
  }

 private:
  void Serve() {
    try {
      while (auto message = mChannel->Receive()) {
        if (message->kind != MessageKind::kRequest) {
          if (message->op == "ping") {
            Message pong;
            pong.op = "pong";
            mChannel->Send(pong);
          }
          continue;
        }
        Respond(*message);
      }
    } catch (...) {
    }
  }

  void Respond(const Message& request) {
    const std::string& op = request.op;
    if (op == "hello") {
      Answer(*mChannel, request, {{"protocol", MakeAny(kProtocolVersion)}});
    } else if (op == "server.create" && mOnCreate) {
      mOnCreate(*mChannel, request);
    } else if (op == "server.create" || op == "typed.connect-linked-server" ||
               op == "source.get-video-renderer") {
      Answer(*mChannel, request, {{"handle", MakeAny(uint64_t{1})}});
    } else if (op == "server.open-project") {
      Answer(*mChannel, request,
             {{"handle", MakeAny(uint64_t{2})}, {"file", ToTree(File(u"/p"))}, {"missingAssets", ToTree(MissingAssets{})}});
    } else if (op == "project.get-source") {
      Answer(*mChannel, request, {{"handle", MakeAny(uint64_t{3})}, {"info", ToTree(SourceInfo{})}});
    } else if (op == "video-renderer.render") {
      mOnRender(*mChannel, request);
    } else {
      Answer(*mChannel, request, {}, {}, kStatusNotSupported);
    }
  }

  Misdeed mOnRender;
  Misdeed mOnCreate;
  std::unique_ptr<Channel> mChannel;
  std::thread mThread;
};

AnyObject BufferReply(uint32_t id, uint64_t capacity, uint64_t size) {
  return {{"buffer", MakeAny(id)}, {"capacity", MakeAny(capacity)}, {"size", MakeAny(size)}, {"keep", MakeAny(true)}};
}

UniqueFd DuplicateOf(int fd) { return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, 0)); }

// Renders one frame through a backend connected to `peer`; returns its status.
Block RenderThrough(HostilePeer& peer) {
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return peer.Connect(); });
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

void ExpectRenderFails(HostilePeer::Misdeed misdeed) {
  kilncore::logging::ScopedLogCapture quiet;
  HostilePeer peer(std::move(misdeed));
  Block block = RenderThrough(peer);
  EXPECT_NE(block.status, 0);
  EXPECT_FALSE(block.data);
}

TEST(IpcHostilePeerTest, DescriptorThatIsNoMemoryFileFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message& request) {
    int fds[2];
    ASSERT_EQ(::pipe2(fds, O_CLOEXEC), 0);
    UniqueFd writeEnd(fds[1]);
    std::vector<UniqueFd> sent;
    sent.emplace_back(fds[0]);
    HostilePeer::Answer(channel, request, BufferReply(1, 4096, 4096), std::move(sent));
  });
}

TEST(IpcHostilePeerTest, UnsealedMemoryThatCouldShrinkFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message& request) {
    UniqueFd memory(::memfd_create("unsealed", MFD_CLOEXEC));
    ASSERT_EQ(::ftruncate(memory.Get(), 4096), 0);
    std::vector<UniqueFd> sent;
    sent.push_back(std::move(memory));
    HostilePeer::Answer(channel, request, BufferReply(1, 4096, 4096), std::move(sent));
  });
}

TEST(IpcHostilePeerTest, CapacityBeyondTheFileFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message& request) {
    auto buffer = SharedBuffer::Create(4096);
    std::vector<UniqueFd> sent;
    sent.push_back(DuplicateOf(buffer->Descriptor()));
    HostilePeer::Answer(channel, request, BufferReply(1, 1 << 20, 4096), std::move(sent));
  });
}

TEST(IpcHostilePeerTest, SizeBeyondTheMappingFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message& request) {
    auto buffer = SharedBuffer::Create(4096);
    std::vector<UniqueFd> sent;
    sent.push_back(DuplicateOf(buffer->Descriptor()));
    HostilePeer::Answer(channel, request, BufferReply(1, 4096, 4097), std::move(sent));
  });
}

TEST(IpcHostilePeerTest, BufferNeverSentFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message& request) {
    HostilePeer::Answer(channel, request, BufferReply(99, 4096, 10));
  });
}

TEST(IpcHostilePeerTest, MistypedReplyFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message& request) {
    HostilePeer::Answer(channel, request, {{"buffer", MakeAny(std::string("one"))}});
  });
}

TEST(IpcHostilePeerTest, GarbageOnTheSocketBreaksTheConnectionAndFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message&) {
    const char garbage[] = "\xff\xff\xff\xff garbage";
    ASSERT_GT(::write(channel.Descriptor(), garbage, sizeof(garbage)), 0);
  });
}

TEST(IpcHostilePeerTest, OversizedFrameHeaderBreaksTheConnectionAndFailsTheRender) {
  ExpectRenderFails([](Channel& channel, const Message&) {
    std::string header = FrameHeader{kMaxBodyBytes, 0}.Encode();
    header[7] = 0x7F;
    ASSERT_GT(::write(channel.Descriptor(), header.data(), header.size()), 0);
  });
}

TEST(IpcHostilePeerTest, ReplyWithoutAHandleFailsTheCreation) {
  kilncore::logging::ScopedLogCapture quiet;
  HostilePeer peer(nullptr, [](Channel& channel, const Message& request) {
    HostilePeer::Answer(channel, request, {{"no-handle", MakeAny(1)}});
  });
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return peer.Connect(); });
  auto [status, server] =
      Await<MarlServer>([&](auto cb) { backend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  EXPECT_NE(status, 0);
  EXPECT_FALSE(server);
}

TEST(IpcHostilePeerTest, WrongProtocolVersionIsRefused) {
  kilncore::logging::ScopedLogCapture quiet;
  auto [client, server] = MakeSocketPair();
  Channel channel(std::move(server));
  std::thread peer([&] {
    if (auto hello = channel.Receive()) {
      HostilePeer::Answer(channel, *hello, {{"protocol", MakeAny(kProtocolVersion + 1)}});
    }
  });
  auto backend = ipc::IpcBackend::CreateWithConnector([&] { return std::move(client); });
  auto [status, typed] =
      Await<MarlServer>([&](auto cb) { backend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  EXPECT_NE(status, 0);
  channel.Shutdown();
  peer.join();
}

}  // namespace
}  // namespace tether::ipctest
