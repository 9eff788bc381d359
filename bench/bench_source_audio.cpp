// The road of audio through a linked source: sequential positional reads of
// 48 kHz stereo, block after block, as a host plays an item.
//
// - BM_ReadAudioFromDouble: ReadAudio against the scripted double answering
//   inside the call. The double makes a fresh shared-memory block for every
//   answer and records every call, so this is the whole road with a server
//   that costs next to nothing.
// - BM_ReadAudioPreparedBlock: the same reads against an item whose reader
//   hands back one prepared block at once, so that only this module's work is
//   measured: the request table, the waits, spreading the block into the
//   channels and keeping a copy for a repeated read.
// - BM_DeinterleaveFloor: the floor. The same spreading of one interleaved
//   block into the host's channel buffers, with nothing around it.
//
// Reads go on from 0 and start again at 0 before they would pass the end of
// the item (three hours, well below 2^31 frames): a read past the end would
// open the server's reader again at every block. Each benchmark reports
// samples per second (items) and the number of times the server's reader was
// opened other than for the first read and after a wrap (counter
// "reopenings"); sequential reads must reopen nothing, and a run in which they
// do ends with an error.
#include "StoredItem.h"

#include <source/TetherSource.h>

#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilnmediatypes/TickTime.h>
#include <processcoordination/SharedMemoryBinaryReference.h>
#include <tether/AudioRenderer.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScopedBackend.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <future>
#include <memory>
#include <vector>

namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using TetherMedia::TetherSource;
using tether::testing::Behaviour;
using tether::testing::Delivery;
using tether::testing::Operation;

constexpr int64_t kTicksPerSample = 5292000;  // 48 kHz
constexpr int64_t kSampleRate = 48000;
constexpr uint32_t kChannels = 2;
constexpr int64_t kDurationSeconds = 3 * 3600;
const tether::RatioTime kDuration(kDurationSeconds, 1);
constexpr int64_t kItemFrames = kDurationSeconds * kSampleRate;
static_assert(kItemFrames < (int64_t{1} << 31), "positions must stay below 2^31 frames");
const Guid kItem("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");

template <class T, class Start>
std::shared_ptr<T> Await(Start start) {
  std::promise<std::shared_ptr<T>> promise;
  auto future = promise.get_future();
  start([&](tether::ConnectionStatus, const std::shared_ptr<T>& object) { promise.set_value(object); });
  return future.get();
}

void ReportBlocks(benchmark::State& state, uint32_t frames) {
  state.SetItemsProcessed(state.iterations() * frames * kChannels);
  state.SetBytesProcessed(state.iterations() * frames * kChannels * sizeof(float));
}

// Reads on from 0 in blocks of `frames` until the benchmark stops, starting
// again at 0 before a block would pass the end of the item. `opened` gives the
// number of times the server's reader was opened so far: once for the first
// read, and once for each wrap, which is a jump back.
template <class Opened>
void ReadOn(benchmark::State& state, TetherSource& source, uint32_t frames, Opened opened) {
  kilnaudiotoolkit::AudioBuffer buffer(kChannels, frames);
  int64_t frame = 0;
  size_t wraps = 0;
  for (auto _ : state) {
    if (frame + frames > kItemFrames) {
      frame = 0;
      ++wraps;
    }
    if (source.ReadAudio(0, buffer, TickTime(frame * kTicksPerSample)) != 0) {
      state.SkipWithError("the block didn't arrive");
      break;
    }
    frame += frames;
    benchmark::DoNotOptimize(buffer.GetChannel(1)[frames - 1]);
  }
  ReportBlocks(state, frames);
  const size_t expected = 1 + wraps;
  const size_t count = opened();
  const size_t reopenings = count > expected ? count - expected : 0;
  state.counters["reopenings"] = static_cast<double>(reopenings);
  if (reopenings != 0) state.SkipWithError("sequential reads opened the server's reader again");
}

void BM_ReadAudioFromDouble(benchmark::State& state) {
  tether::testing::ScopedBackend backend;
  backend->Script(Operation::kGetAudioRenderer, Behaviour::Succeed().With(Delivery::kSynchronous));
  backend->Script(Operation::kRenderAudio, Behaviour::Succeed().With(Delivery::kSynchronous));
  auto setup = tether::testing::ScriptedSourceSetup::Typical();
  setup.info.duration = kDuration;
  backend->SetSource(kItem, setup);
  auto marl = Await<tether::MarlServer>(
      [](auto callback) { tether::MarlServer::CreateTetherServer(callback, tether::kServerConnectionTypeDefault); });
  auto server = Await<tether::Server>(
      [&](auto callback) { marl->ConnectLinkedServer(callback, tether::kServerConnectionTypeInherit); });
  auto project = Await<tether::Project>(
      [&](auto callback) { server->OpenProject(callback, tether::File(u"/bench/sample.marlp", false)); });
  auto item = Await<tether::Source>([&](auto callback) { project->GetSource(callback, kItem); });
  kilncore::classref::InterfaceRef<TetherSource> source;
  TetherSource::Create(source, item, 0);
  ReadOn(state, *source, static_cast<uint32_t>(state.range(0)),
         [&] { return backend->CallCount(Operation::kGetAudioRenderer); });
}
BENCHMARK(BM_ReadAudioFromDouble)->Arg(1024)->Arg(4096);

// A reader that hands back the same prepared block of interleaved samples,
// inside the call.
class PreparedReader final : public tether::AudioRenderer {
 public:
  explicit PreparedReader(uint32_t blockSamples)
      : mBlock(processcoordination::SharedMemoryBinaryReference::Create(blockSamples * sizeof(float))) {
    auto* samples = reinterpret_cast<float*>(mBlock->Data());
    for (uint32_t i = 0; i < blockSamples; ++i) samples[i] = static_cast<float>(i % 997) / 997.0f;
  }
  void RenderAudio(RenderCallback callback, const Guid& identifier) override { callback(identifier, mBlock, 0); }

 private:
  std::shared_ptr<processcoordination::SharedMemoryBinaryReference> mBlock;
};

// An item that answers its getters from a stored description and opens a
// PreparedReader at once.
class PreparedItem final : public tetherbench::StoredItem {
 public:
  PreparedItem() : StoredItem(Info()) {}
  size_t Opened() const { return mOpened.load(); }

  void GetAudioRenderer(AudioRendererCallback callback, const tether::AudioRenderOptions&, const tether::RatioTime&,
                        uint32_t blockSamples) override {
    ++mOpened;
    callback(tether::kConnectionStatusOK, std::make_shared<PreparedReader>(blockSamples));
  }

 private:
  static tether::SourceInfo Info() {
    tether::SourceInfo info = tether::testing::ScriptedSourceSetup::Typical().info;
    info.duration = kDuration;
    return info;
  }

  std::atomic<size_t> mOpened{0};
};

void BM_ReadAudioPreparedBlock(benchmark::State& state) {
  auto item = std::make_shared<PreparedItem>();
  kilncore::classref::InterfaceRef<TetherSource> source;
  TetherSource::Create(source, item, 0);
  ReadOn(state, *source, static_cast<uint32_t>(state.range(0)), [&] { return item->Opened(); });
}
BENCHMARK(BM_ReadAudioPreparedBlock)->Arg(1024)->Arg(4096);

// The floor: one interleaved block spread into the host's channel buffers, as
// the module spreads every block it reads, sample by sample without assuming
// float alignment of the block.
void BM_DeinterleaveFloor(benchmark::State& state) {
  const auto frames = static_cast<uint32_t>(state.range(0));
  std::vector<float> interleaved(static_cast<size_t>(frames) * kChannels);
  for (size_t i = 0; i < interleaved.size(); ++i) interleaved[i] = static_cast<float>(i % 997) / 997.0f;
  const auto* samples = reinterpret_cast<const std::byte*>(interleaved.data());
  kilnaudiotoolkit::AudioBuffer buffer(kChannels, frames);
  for (auto _ : state) {
    for (uint32_t c = 0; c < kChannels; ++c) {
      float* target = buffer.GetChannel(c);
      const std::byte* sample = samples + c * sizeof(float);
      for (uint32_t i = 0; i < frames; ++i, sample += kChannels * sizeof(float)) {
        std::memcpy(target + i, sample, sizeof(float));
      }
    }
    benchmark::DoNotOptimize(buffer.GetChannel(1)[frames - 1]);
    benchmark::ClobberMemory();
  }
  ReportBlocks(state, frames);
}
BENCHMARK(BM_DeinterleaveFloor)->Arg(1024)->Arg(4096);

}  // namespace

BENCHMARK_MAIN();
