// The road of a frame through a linked source.
//
// - The cache-hit road of GetFrame (stretch check, frame identifier, one look
//   in the host-wide frame cache) against its floor measured in the same run:
//   the same bytes hashed with the same hash, and one lookup in a plain hash
//   map. The goal is to stay within twice the floor.
// - The frame identifier alone.
// - The miss road, per frame, against the scripted double answering at once.
//
// The hit road and the identifier run over a minimal item whose getters only
// return stored values, so that what is measured is this module's work, not
// the scripted double's call recording. The miss road uses the double, as the
// render and its renderer come from it.
#include "StoredItem.h"

#include <source/TetherSource.h>

#include <TetherMedia/Prefs.h>

#include <Pane/SharedPaneCache.h>

#include <kilncore/utility/Murmur3MixerState.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/ScopedBackend.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <benchmark/benchmark.h>

#include <future>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using TetherMedia::TetherSource;

constexpr int64_t kFrame = 10584000000;  // one frame at 24 fps, in ticks

// The item of the hit road: a video-only item answering from its description.
tether::SourceInfo VideoOnlyInfo() {
  tether::SourceInfo info = tether::testing::ScriptedSourceSetup::Typical().info;
  info.hasAudio = false;
  info.audioChannelLayout.clear();
  info.audioSampleRate = tether::kNoFrameRate;
  return info;
}

RL::FrameFormat Format() {
  RL::FrameFormat format;
  format.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
  format.width = 1920;
  format.height = 1080;
  format.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Square;
  format.fieldType = kilnmediatypes::kFieldType_Progressive;
  return format;
}

const RL::BinaryData& Prefs() {
  static const RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(Guid("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"));
  return prefs;
}

kilncore::classref::InterfaceRef<TetherSource> StoredSource() {
  kilncore::classref::InterfaceRef<TetherSource> source;
  TetherSource::Create(source, std::make_shared<tetherbench::StoredItem>(VideoOnlyInfo()), 0);
  return source;
}

// A frame of `bytes` bytes that is only ever looked up, never read.
class BenchPane final : public RL::IPane {
 public:
  explicit BenchPane(Guid identifier) : mIdentifier(identifier) {}
  Guid GetIdentifier() const override { return mIdentifier; }
  int32_t GetWidth() const override { return 0; }
  int32_t GetHeight() const override { return 0; }
  int32_t GetRowBytes() const override { return 0; }
  kilnmediatypes::PixelFormat GetPixelFormat() const override { return {}; }
  kilnmediatypes::PixelAspectRatio GetPixelAspectRatio() const override { return {}; }
  kilnmediatypes::FieldType GetFieldType() const override { return kilnmediatypes::kFieldType_Progressive; }
  const void* GetData() const override { return mBytes; }
  size_t GetDataSize() const override { return sizeof mBytes; }

 private:
  Guid mIdentifier;
  uint8_t mBytes[64] = {};
};

void BM_CacheHitRoad(benchmark::State& state) {
  auto source = StoredSource();
  Guid identifier;
  source->GetIdentifierForSourceVideo(identifier, TickTime(kFrame), Format(), Prefs());
  Pane::SharedPaneCache::Instance().Clear();
  Pane::SharedPaneCache::Instance().InsertIntoCache(std::make_shared<BenchPane>(identifier), identifier, 10);
  const RL::FrameFormat format = Format();
  for (auto _ : state) {
    TetherSource::Frame frame;
    source->GetFrame(TickTime(kFrame), format, Prefs(), false, frame);
    benchmark::DoNotOptimize(frame);
  }
  Pane::SharedPaneCache::Instance().Clear();
}
BENCHMARK(BM_CacheHitRoad);

// The floor: the identifier's bytes hashed in the same pieces by the same
// hash, and one lookup in a plain hash map holding the frame.
void BM_CacheHitFloor(benchmark::State& state) {
  const RL::FrameFormat format = Format();
  const Guid contentState = tether::testing::ScriptedSourceSetup::Typical().info.contentState;
  uint8_t stateBytes[16];
  Guid::GuidToBytes(contentState, stateBytes);
  constexpr std::string_view kDomain = "TetherSource::GetIdentifierForSourceVideo";
  auto hash = [&] {
    kilncore::utility::Murmur3MixerState mixer;
    kilncore::utility::UpdateHashState(mixer, kDomain.data(), kDomain.size());
    const int64_t ticks = kFrame;
    kilncore::utility::UpdateHashState(mixer, &ticks, sizeof ticks);
    format.MixInWithHash(mixer);
    kilncore::utility::UpdateHashState(mixer, stateBytes, sizeof stateBytes);
    kilncore::utility::UpdateHashState(mixer, Prefs().GetData(), Prefs().GetSize());
    Guid result;
    kilncore::utility::GetHashResult(mixer, result);
    return result;
  };
  std::unordered_map<Guid, TetherSource::Frame> map;
  const Guid identifier = hash();
  map.emplace(identifier, TetherSource::Frame(std::make_shared<BenchPane>(identifier)));
  for (auto _ : state) {
    const auto found = map.find(hash());
    TetherSource::Frame frame = found == map.end() ? TetherSource::Frame() : found->second;
    benchmark::DoNotOptimize(frame);
  }
}
BENCHMARK(BM_CacheHitFloor);

void BM_FrameIdentifier(benchmark::State& state) {
  auto source = StoredSource();
  const RL::FrameFormat format = Format();
  for (auto _ : state) {
    Guid identifier;
    source->GetIdentifierForSourceVideo(identifier, TickTime(kFrame), format, Prefs());
    benchmark::DoNotOptimize(identifier);
  }
}
BENCHMARK(BM_FrameIdentifier);

template <class T, class Start>
std::shared_ptr<T> Await(Start start) {
  std::promise<std::shared_ptr<T>> promise;
  auto future = promise.get_future();
  start([&](tether::ConnectionStatus, const std::shared_ptr<T>& object) { promise.set_value(object); });
  return future.get();
}

// Every iteration asks for a frame not seen before: identifier, a cache miss,
// an entry in the table of frames in flight, a render on the pooled renderer
// answered at once, the frame wrapped and cached, the waiter released.
void BM_MissRoad(benchmark::State& state) {
  tether::testing::ScopedBackend backend;
  backend->Script(tether::testing::Operation::kRenderVideo,
                  tether::testing::Behaviour::Succeed().With(tether::testing::Delivery::kSynchronous));
  auto marl = Await<tether::MarlServer>(
      [](auto callback) { tether::MarlServer::CreateTetherServer(callback, tether::kServerConnectionTypeDefault); });
  auto server = Await<tether::Server>(
      [&](auto callback) { marl->ConnectLinkedServer(callback, tether::kServerConnectionTypeInherit); });
  auto project = Await<tether::Project>(
      [&](auto callback) { server->OpenProject(callback, tether::File(u"/bench/sample.marlp", false)); });
  auto item = Await<tether::Source>(
      [&](auto callback) { project->GetSource(callback, Guid("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0")); });
  kilncore::classref::InterfaceRef<TetherSource> source;
  TetherSource::Create(source, item, 0);
  // A small budget keeps a few hundred frames, as a host's cache would keep a
  // window around the play head; evicting the oldest gives its shared memory
  // back, so the run never holds thousands of mappings.
  Pane::SharedPaneCache::Instance().Clear();
  const size_t budget = Pane::SharedPaneCache::Instance().GetByteBudget();
  Pane::SharedPaneCache::Instance().SetByteBudget(256 * 64);
  const RL::FrameFormat format = Format();
  int64_t frameNumber = 0;
  for (auto _ : state) {
    TetherSource::Frame frame;
    if (source->GetFrame(TickTime(kFrame * frameNumber++), format, Prefs(), false, frame) != 0 || !frame) {
      state.SkipWithError("the frame didn't arrive");
      break;
    }
    benchmark::DoNotOptimize(frame);
  }
  state.SetItemsProcessed(state.iterations());
  source.Reset();
  Pane::SharedPaneCache::Instance().Clear();
  Pane::SharedPaneCache::Instance().SetByteBudget(budget);
}
BENCHMARK(BM_MissRoad)->Iterations(20000);

}  // namespace

BENCHMARK_MAIN();
