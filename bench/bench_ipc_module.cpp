// The whole road of a frame, as a host's player pays for it: the module asking
// the reference server over the IPC link for a 1080p frame of a sample
// project, against the server's own render of the same frame measured alone
// in the same run, and against a replayed frame that comes from the host's
// cache. In every case the consumer reads every byte of the frame.
#include <module/TetherMediaModule.h>

#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <Pane/SharedPaneCache.h>
#include <RL/FrameFormat.h>
#include <RL/IPane.h>
#include <RL/ISource.h>
#include <RL/MediaType.h>
#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/Prefs.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/string/UTFConversion.h>
#include <tether/Backend.h>
#include <tether/ipc/IpcBackend.h>

#include <server/project/Project.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace {

using kilncore::classref::InterfaceRef;
using kilnmediatypes::TickTime;

const std::filesystem::path kProject = std::filesystem::path(TETHER_BENCH_EXAMPLES_FOLDER) / "simple.marlp";
const kilncore::utility::Guid kComposition("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
constexpr int64_t kFrames = 250;
const kilnmediatypes::FrameRate kFrameRate = kilnmediatypes::FrameRate::FromFramesPerSecond(25);

uint64_t ReadAll(const void* data, size_t size) {
  const auto* words = static_cast<const uint64_t*>(data);
  uint64_t sum = 0;
  for (size_t i = 0; i < size / 8; ++i) sum += words[i];
  return sum;
}

// The module, started as a host starts it, with one clip of the sample
// composition and its video stream.
struct HostedClip {
  HostedClip() {
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
    WF::RegisterReferenceImporterFactory();
    tether::ipc::IpcBackendOptions options;
    options.serverExecutable = TETHER_BENCH_SERVER_EXECUTABLE;
    tether::InstallBackend(tether::ipc::IpcBackend::Create(options));
    TetherMedia::Initialize();
    prefs = TetherMedia::SourceIDToPrefs(kComposition);
    bool changed = false;
    InterfaceRef<KL::IMediaInfo> item;
    if (TetherMedia::TetherMediaModule().ImportFile(item, kilncore::string::UTF8to16(kProject.string()), 0, 0,
                                                    prefs, changed, true, false, u"", 0, nullptr, 0, nullptr) < 0) {
      throw std::runtime_error("import failed");
    }
    InterfaceRef<RL::ISource> stream;
    item->CreateSourceForStream(RL::kMediaType_Video, 0, prefs, kFrameRate, u"", u"", u"", u"", stream);
    video = InterfaceRef<KL::IVideoSource>(stream);
    if (!video) throw std::runtime_error("no video stream");
    format.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
    format.width = 1920;
    format.height = 1080;
    format.renderQuality = 3;
    video->SelectFrameFormat(TickTime(0), format);
  }

  KL::IVideoSource::Frame Get(int64_t frame) {
    KL::IVideoSource::Frame pane;
    const TickTime time(frame, kFrameRate);
    // A blocking caller can be released just before its frame is filed; the
    // frame is in the cache by then.
    if (video->GetFrame(time, format, prefs, false, pane) < 0 || !pane) {
      video->GetFrame(time, format, prefs, false, pane);
    }
    return pane;
  }

  RL::BinaryData prefs;
  InterfaceRef<KL::IVideoSource> video;
  RL::FrameFormat format;
};

HostedClip& Clip() {
  static HostedClip* clip = new HostedClip();  // lives as long as the server it started
  return *clip;
}

// The server's own work for one frame, in this process: draw it into memory.
void BM_ServerRenderAlone(benchmark::State& state) {
  auto project = tetherserver::Project::Open(kProject);
  if (!project) {
    state.SkipWithError("project won't open");
    return;
  }
  const tetherserver::Composition* composition = (*project)->FindComposition(kComposition);
  tetherserver::RenderSettings settings;
  settings.pixelFormat = tether::PixelFormat{kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc, 0};
  settings.width = 1920;
  settings.height = 1080;
  settings.renderQuality = 3;
  std::vector<uint8_t> memory(settings.FrameBytes());
  const tetherserver::FrameBuffer buffer = settings.MakeBuffer(memory.data());
  int64_t frame = 0;
  for (auto _ : state) {
    tetherserver::FrameRenderer::Render(*composition, TickTime(frame, kFrameRate), settings, buffer);
    benchmark::DoNotOptimize(ReadAll(memory.data(), memory.size()));
    frame = (frame + 1) % kFrames;
  }
  state.SetItemsProcessed(state.iterations());
}

// A frame the host's cache doesn't have: the module asks the server, which
// renders it into shared memory; the module wraps it and files it.
void BM_ModuleFrameFromServer(benchmark::State& state) {
  HostedClip& clip = Clip();
  int64_t frame = 0;
  for (auto _ : state) {
    state.PauseTiming();
    Pane::SharedPaneCache::Instance().Clear();
    state.ResumeTiming();
    const KL::IVideoSource::Frame pane = clip.Get(frame);
    if (!pane) {
      state.SkipWithError("no frame");
      return;
    }
    benchmark::DoNotOptimize(ReadAll(pane->GetData(), pane->GetDataSize()));
    frame = (frame + 1) % kFrames;
  }
  state.SetItemsProcessed(state.iterations());
}

// A replayed frame: the identifier is computed and the cache has it.
void BM_ModuleFrameFromCache(benchmark::State& state) {
  HostedClip& clip = Clip();
  clip.Get(0);
  for (auto _ : state) {
    const KL::IVideoSource::Frame pane = clip.Get(0);
    benchmark::DoNotOptimize(ReadAll(pane->GetData(), pane->GetDataSize()));
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_ServerRenderAlone)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ModuleFrameFromServer)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ModuleFrameFromCache)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
