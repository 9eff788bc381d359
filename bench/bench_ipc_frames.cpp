// Frames from a server process to the client, against the same bytes moved by
// memcpy and by a pipe; a warm buffer pool against a fresh buffer per frame;
// a tiny request's round trip against a bare Unix-socket ping-pong. The link
// is measured both one frame at a time and, as a player asks, one frame ahead.
//
// In every frame benchmark the producer only writes the bytes and the consumer
// reads every byte, so that what differs is how the bytes travel.
#include <tether/AudioRenderer.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>
#include <tether/VideoRenderer.h>
#include <tether/ipc/IpcBackend.h>
#include <tether/wire/Channel.h>

#include <SessionSyntheticContent.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <deque>
#include <future>
#include <thread>
#include <vector>

namespace {

using kilncore::utility::Guid;

template <class T, class Start>
std::shared_ptr<T> Await(Start start) {
  std::promise<std::shared_ptr<T>> promise;
  start([&](tether::ConnectionStatus, const std::shared_ptr<T>& object) { promise.set_value(object); });
  return promise.get_future().get();
}

// Reads every byte, as a consumer that uploads or converts the frame would.
uint64_t ReadAll(const void* data, size_t size) {
  const auto* words = static_cast<const uint64_t*>(data);
  uint64_t sum = 0;
  for (size_t i = 0; i < size / 8; ++i) {
    sum += words[i];
  }
  return sum;
}

struct Link {
  std::shared_ptr<tether::ipc::IpcBackend> backend;
  std::shared_ptr<tether::Project> project;
  std::shared_ptr<tether::Source> source;
  std::shared_ptr<tether::VideoRenderer> renderer;
};

Link OpenLink(bool cold, int width, int height) {
  tether::ipc::IpcBackendOptions options;
  options.serverExecutable = TETHER_BENCH_SERVER_EXECUTABLE;
  if (cold) {
    options.serverArguments = {"--cold-buffers"};
  }
  Link link;
  link.backend = tether::ipc::IpcBackend::Create(options);
  auto typed = Await<tether::MarlServer>(
      [&](auto cb) { link.backend->CreateMarlServer(cb, tether::kServerConnectionTypeDefault); });
  auto server = Await<tether::Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
  link.project = Await<tether::Project>([&](auto cb) { server->OpenProject(cb, tether::File(u"/bench.synthetic")); });
  link.source = Await<tether::Source>(
      [&](auto cb) { link.project->GetSource(cb, tetherserver::SessionSyntheticContent::kItemID); });
  tether::VideoRenderOptions renderOptions;
  renderOptions.SetBounds(width, height);
  renderOptions.SetAppSpecificRenderOptionsJSONString(u"{\"fill\":true}");
  link.renderer = Await<tether::VideoRenderer>([&](auto cb) { link.source->GetVideoRenderer(cb, renderOptions); });
  return link;
}

using Block = std::shared_ptr<processcoordination::BinaryReference>;

// Asks for frame `frame` and gives the future of its block.
std::future<Block> RequestFrame(tether::VideoRenderer& renderer, int64_t frame) {
  auto promise = std::make_shared<std::promise<Block>>();
  auto future = promise->get_future();
  renderer.RenderVideo([promise](const Guid&, const Block& block, int) { promise->set_value(block); },
                       Guid::CreateUnique(), tether::RatioTime(frame, 25));
  return future;
}

// Reads frame after frame, each read whole. With `ahead` 0 each frame is
// asked for only once the last one is read; otherwise `ahead` renders are
// asked for beyond the frame being read, as a player does, so the server
// fills the next frames while the client reads this one (the pipe baseline
// overlaps its producer and consumer the same way).
void IpcFrames(benchmark::State& state, bool cold, size_t ahead) {
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  Link link = OpenLink(cold, width, height);
  int64_t frame = 0;
  std::deque<std::future<Block>> inFlight;
  for (size_t i = 0; i < ahead; ++i) inFlight.push_back(RequestFrame(*link.renderer, frame++));
  for (auto _ : state) {
    inFlight.push_back(RequestFrame(*link.renderer, frame++));
    Block block = inFlight.front().get();
    inFlight.pop_front();
    if (!block) {
      state.SkipWithError("render failed");
      break;
    }
    benchmark::DoNotOptimize(ReadAll(block->GetAddress(), block->GetSize()));
    block->ReleaseAddress();
  }
  // The frames still asked for are let go unread, so the pool gets them back.
  for (auto& pending : inFlight) {
    if (Block block = pending.get()) block->ReleaseAddress();
  }
  state.SetBytesProcessed(state.iterations() * int64_t{width} * height * 4);
  state.SetItemsProcessed(state.iterations());
}

void BM_IpcFramesWarmPool(benchmark::State& state) { IpcFrames(state, false, 0); }
void BM_IpcFramesOneAhead(benchmark::State& state) { IpcFrames(state, false, 1); }
void BM_IpcFramesFreshBuffer(benchmark::State& state) { IpcFrames(state, true, 0); }

void BM_MemcpyFrames(benchmark::State& state) {
  const size_t size = static_cast<size_t>(state.range(0) * state.range(1) * 4);
  std::vector<unsigned char> source(size), target(size);
  unsigned char value = 0;
  for (auto _ : state) {
    std::memset(source.data(), value++, size);
    std::memcpy(target.data(), source.data(), size);
    benchmark::DoNotOptimize(ReadAll(target.data(), size));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
  state.SetItemsProcessed(state.iterations());
}

void BM_PipeFrames(benchmark::State& state) {
  const size_t size = static_cast<size_t>(state.range(0) * state.range(1) * 4);
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) {
    state.SkipWithError("pipe");
    return;
  }
  ::fcntl(fds[1], F_SETPIPE_SZ, 1 << 20);
  // The producer learns that the consumer is done from a failed write.
  ::signal(SIGPIPE, SIG_IGN);
  std::atomic<bool> stop{false};
  // The producer writes whole frames for as long as the consumer reads them.
  std::thread producer([&] {
    std::vector<unsigned char> frame(size);
    unsigned char value = 0;
    while (!stop) {
      std::memset(frame.data(), value++, size);
      for (size_t written = 0; written < size;) {
        ssize_t n = ::write(fds[1], frame.data() + written, size - written);
        if (n <= 0) {
          return;
        }
        written += static_cast<size_t>(n);
      }
    }
  });
  std::vector<unsigned char> target(size);
  for (auto _ : state) {
    for (size_t got = 0; got < size;) {
      ssize_t n = ::read(fds[0], target.data() + got, size - got);
      if (n <= 0) {
        state.SkipWithError("read");
        break;
      }
      got += static_cast<size_t>(n);
    }
    benchmark::DoNotOptimize(ReadAll(target.data(), size));
  }
  stop = true;
  ::close(fds[0]);
  producer.join();
  ::close(fds[1]);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
  state.SetItemsProcessed(state.iterations());
}

void BM_IpcTinyRequestRoundTrip(benchmark::State& state) {
  Link link = OpenLink(false, 16, 16);
  for (auto _ : state) {
    std::promise<bool> promise;
    link.project->IsSourceLinked([&](tether::ConnectionStatus, bool linked) { promise.set_value(linked); },
                                 tetherserver::SessionSyntheticContent::kItemID);
    benchmark::DoNotOptimize(promise.get_future().get());
  }
}

void BM_BareSocketPingPong(benchmark::State& state) {
  auto [a, b] = tether::wire::MakeSocketPair();
  std::thread echo([fd = b.Get()] {
    char byte;
    while (::read(fd, &byte, 1) == 1 && ::write(fd, &byte, 1) == 1) {
    }
  });
  char byte = 'x';
  for (auto _ : state) {
    if (::write(a.Get(), &byte, 1) != 1 || ::read(a.Get(), &byte, 1) != 1) {
      state.SkipWithError("ping-pong");
      break;
    }
  }
  a.Reset();
  echo.join();
}

#define FRAME_SIZES Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMillisecond)->UseRealTime()

BENCHMARK(BM_IpcFramesWarmPool)->FRAME_SIZES;
BENCHMARK(BM_IpcFramesOneAhead)->FRAME_SIZES;
BENCHMARK(BM_IpcFramesFreshBuffer)->FRAME_SIZES;
BENCHMARK(BM_MemcpyFrames)->FRAME_SIZES;
BENCHMARK(BM_PipeFrames)->FRAME_SIZES;
BENCHMARK(BM_IpcTinyRequestRoundTrip)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_BareSocketPingPong)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
